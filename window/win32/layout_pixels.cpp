#include "window/win32/layout_pixels.h"

#include <algorithm>

namespace ketra::window::win32 {

int TwipsToPixels(int twips, int dpi) {
  const long long scaled = static_cast<long long>(twips) * dpi;
  return static_cast<int>(scaled >= 0 ? (scaled + 720) / 1440 : -((-scaled + 720) / 1440));
}

PixelRect ClientRect(const forms::Form& form, forms::ControlId id, int dpi) {
  const forms::Control& control = form.at(id);
  if (control.kind == forms::Kind::kForm) {
    return {0, 0, TwipsToPixels(control.width, dpi), TwipsToPixels(control.height, dpi)};
  }
  int left = control.left;
  int top = control.top;
  for (forms::ControlId outer = control.container; outer != forms::kNoControl;
       outer = form.at(outer).container) {
    const forms::Control& container = form.at(outer);
    if (container.kind == forms::Kind::kForm) break;
    left += container.left;
    top += container.top;
  }
  return {TwipsToPixels(left, dpi), TwipsToPixels(top, dpi),
          TwipsToPixels(left + control.width, dpi), TwipsToPixels(top + control.height, dpi)};
}

PixelRect VisibleRect(const forms::Form& form, forms::ControlId id, int dpi) {
  PixelRect visible = ClientRect(form, id, dpi);
  for (forms::ControlId outer = form.at(id).container; outer != forms::kNoControl;
       outer = form.at(outer).container) {
    const PixelRect container = ClientRect(form, outer, dpi);
    visible.left = std::max(visible.left, container.left);
    visible.top = std::max(visible.top, container.top);
    visible.right = std::min(visible.right, container.right);
    visible.bottom = std::min(visible.bottom, container.bottom);
  }
  if (visible.right <= visible.left || visible.bottom <= visible.top) return {};
  return visible;
}

bool Shown(const forms::Form& form, forms::ControlId id) {
  for (forms::ControlId at = id; at != forms::kNoControl; at = form.at(at).container) {
    const forms::Control& control = form.at(at);
    if (!control.visible) return false;
    if (control.tab_page >= 0 && control.container != forms::kNoControl) {
      const forms::Control& tab = form.at(control.container);
      if (tab.kind == forms::Kind::kTab && tab.tab_shown != control.tab_page) return false;
    }
  }
  return true;
}

}  // namespace ketra::window::win32
