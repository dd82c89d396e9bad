// LayoutRow: writes one row of a layout table as a chain of named settings, so that a constexpr
// table names only what differs from the defaults of ControlSpec:
//   LayoutRow("TXT_IP1", Kind::kTextBox, "FRM_REMOTE").At(1800, 1080, 495, 285).Tab(11)
//       .Caption("192").Limit(3)
// Plain value type; converts to ControlSpec.
#ifndef KETRA_PLATFORM_FORMS_LAYOUT_ROW_H_
#define KETRA_PLATFORM_FORMS_LAYOUT_ROW_H_

#include <span>
#include <string_view>

#include "platform/forms/control.h"

namespace ketra::forms {

class LayoutRow {
  // Defined before the setters that call it: clang 14 refuses, in a constant expression, a call
  // of a member template whose definition comes later in the class.
  template <typename T, typename V>
  constexpr LayoutRow With(T ControlSpec::*member, V value) const {
    LayoutRow next = *this;
    next.row_.*member = value;
    return next;
  }

 public:
  constexpr LayoutRow(std::string_view name, Kind kind, std::string_view container = {}) {
    row_.name = name;
    row_.kind = kind;
    row_.container = container;
  }

  constexpr LayoutRow At(int left, int top, int width, int height) const {
    LayoutRow next = *this;
    next.row_.left = left;
    next.row_.top = top;
    next.row_.width = width;
    next.row_.height = height;
    return next;
  }
  constexpr LayoutRow Tab(int tab_index) const { return With(&ControlSpec::tab_index, tab_index); }
  // A caption, or the default text of a text box.
  constexpr LayoutRow Caption(std::string_view caption) const {
    return With(&ControlSpec::caption, caption);
  }
  constexpr LayoutRow Limit(int max_length) const {
    return With(&ControlSpec::max_length, max_length);
  }
  constexpr LayoutRow Hidden() const { return With(&ControlSpec::visible, false); }
  constexpr LayoutRow Disabled() const { return With(&ControlSpec::enabled, false); }
  constexpr LayoutRow Selected() const { return With(&ControlSpec::value, true); }
  constexpr LayoutRow Page(int tab_page) const { return With(&ControlSpec::tab_page, tab_page); }
  constexpr LayoutRow Shows(Picture picture) const { return With(&ControlSpec::picture, picture); }
  constexpr LayoutRow Every(int interval_ms) const {
    return With(&ControlSpec::interval, interval_ms);
  }
  constexpr LayoutRow Centred() const { return With(&ControlSpec::centred, true); }
  constexpr LayoutRow Pages(std::span<const std::string_view> captions) const {
    return With(&ControlSpec::tabs, captions);
  }

  constexpr LayoutRow NamedBy(std::string_view label) const {
    return With(&ControlSpec::named_by, label);
  }
  constexpr LayoutRow Tip(std::string_view tip) const { return With(&ControlSpec::tip, tip); }

  constexpr operator ControlSpec() const { return row_; }  // NOLINT: a row is its spec

 private:
  ControlSpec row_{};
};

}  // namespace ketra::forms

#endif  // KETRA_PLATFORM_FORMS_LAYOUT_ROW_H_
