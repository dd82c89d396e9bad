#include "window/win32/native_order.h"

#include <algorithm>

namespace ketra::window::win32 {
namespace {

using forms::ControlId;
using forms::Kind;

int Depth(const forms::Form& form, ControlId id) {
  int depth = 0;
  for (ControlId at = form.at(id).container; at != forms::kNoControl; at = form.at(at).container) {
    ++depth;
  }
  return depth;
}

}  // namespace

std::vector<ControlId> NativeOrder(const forms::Form& form) {
  std::vector<ControlId> focusable;
  std::vector<ControlId> frames;
  std::vector<ControlId> tabs;
  std::vector<ControlId> loose;  // labels that name no control that takes the focus
  for (ControlId id = 0; id < form.size(); ++id) {
    switch (form.at(id).kind) {
      case Kind::kForm:
      case Kind::kTimer:
      case Kind::kImage:
        break;
      case Kind::kFrame:
        frames.push_back(id);
        break;
      case Kind::kTab:
        tabs.push_back(id);
        break;
      case Kind::kLabel:
        loose.push_back(id);
        break;
      default:
        focusable.push_back(id);
        break;
    }
  }
  const auto by_tab_index = [&form](ControlId a, ControlId b) {
    return form.at(a).tab_index < form.at(b).tab_index;
  };
  std::stable_sort(focusable.begin(), focusable.end(), by_tab_index);
  std::stable_sort(loose.begin(), loose.end(), by_tab_index);

  std::vector<ControlId> order;
  std::vector<bool> placed(static_cast<std::size_t>(form.size()), false);
  const auto place = [&](ControlId id) {
    if (placed[static_cast<std::size_t>(id)]) return;
    placed[static_cast<std::size_t>(id)] = true;
    order.push_back(id);
    // The images a label names follow it.
    for (ControlId image = 0; image < form.size(); ++image) {
      if (form.at(image).kind == Kind::kImage && form.at(image).named_by == id) {
        placed[static_cast<std::size_t>(image)] = true;
        order.push_back(image);
      }
    }
  };
  // Labels that name no focusable control keep their place in TabIndex among the others.
  std::vector<ControlId> merged = focusable;
  for (const ControlId label : loose) {
    const bool names_focusable = std::any_of(focusable.begin(), focusable.end(), [&](ControlId c) {
      return form.at(c).named_by == label;
    });
    if (!names_focusable) merged.push_back(label);
  }
  std::stable_sort(merged.begin(), merged.end(), by_tab_index);
  for (const ControlId id : merged) {
    if (const ControlId label = form.at(id).named_by; label != forms::kNoControl) place(label);
    place(id);
  }
  for (ControlId image = 0; image < form.size(); ++image) {
    if (form.at(image).kind == Kind::kImage) place(image);
  }
  std::stable_sort(frames.begin(), frames.end(),
                   [&form](ControlId a, ControlId b) { return Depth(form, a) > Depth(form, b); });
  for (const ControlId frame : frames) place(frame);
  for (const ControlId tab : tabs) place(tab);
  return order;
}

bool StartsGroup(const forms::Form& form, const std::vector<ControlId>& order, std::size_t index) {
  const forms::Control& control = form.at(order.at(index));
  if (control.kind != Kind::kOption || index == 0) return true;
  const forms::Control& before = form.at(order[index - 1]);
  return before.kind != Kind::kOption || before.container != control.container;
}

}  // namespace ketra::window::win32
