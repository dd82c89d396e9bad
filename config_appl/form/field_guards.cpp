#include "config_appl/form/field_guards.h"

#include <string>

#include "config_appl/form1/controls.h"
#include "platform/runtime/conversions.h"

namespace ketra {

void NumericGuard(Panel& p, std::string_view field) {
  if (!runtime::IsNumeric(p.Text(field))) p.SetText(field, "");
}

void SelectAll(Panel& p, std::string_view field) {
  forms::Form& form = p.form();
  const forms::ControlId id = form.Id(field);
  form.SetSelStart(id, 0);
  form.SetSelLength(id, static_cast<int>(form.at(id).text.size()));
}

void BoundGuard(Panel& p, std::string_view field) {
  if (runtime::LeadingNumber(p.Text(field)) > 255) {
    p.MsgBox("Invalid Ip Address", forms::MsgBoxStyle::kPlain);
    p.SetText(field, "");
  }
}

void DistinctnessGuard(Panel& p, std::string_view field) {
  const std::string xoff = p.Text(ctl::kXoff);
  const std::string xon = p.Text(ctl::kXon);
  if (xoff == xon && !p.Text(field).empty()) {
    p.MsgBox("Please select distinct values for XON and XOFF", forms::MsgBoxStyle::kPlain);
    p.SetText(field, "");
  }
}

}  // namespace ketra
