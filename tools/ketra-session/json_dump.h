// The JSON forms of the session's output, one object a line: the dumps of the program's state,
// its port table and its controls, and the events. Texts come from the program in Windows-1252
// and leave as UTF-8; keys keep the order the session protocol shows.
//
// Pure functions over the program's state; thread-safe as far as the program is.
#ifndef KETRA_TOOLS_KETRA_SESSION_JSON_DUMP_H_
#define KETRA_TOOLS_KETRA_SESSION_JSON_DUMP_H_

#include <string_view>

#include <nlohmann/json.hpp>

#include "config_appl/app/program.h"
#include "platform/device/tracing_device.h"
#include "platform/forms/control.h"
#include "platform/forms/form.h"
#include "platform/forms/services.h"

namespace ketra::session {

using Json = nlohmann::ordered_json;

// {"state":{...}}: PortCount, LastPort, InputInvalid, RegValue, AppPath, MonitorCountdown,
// Focus, Page.
Json StateJson(const Program& program);
// {"row":N,"Enabled":...,...}; `row` must lie in 0..100.
Json RowJson(const Program& program, int row);
// {"control":NAME,"kind":KIND,...} with the properties of its kind.
Json ControlJson(const forms::Control& control);

Json MsgBoxEvent(std::string_view text, forms::MsgBoxStyle style);
// open, ioctl or close.
Json DeviceEvent(const device::DeviceCall& call);
Json FailureEvent(std::string_view routine, std::string_view error);
Json RefusedEvent(std::string_view control, forms::Refusal refusal);
Json EndedEvent();
Json ErrorEvent(int line, std::string_view message);

// Windows-1252 program text to a JSON string value.
Json Text(std::string_view ansi);

}  // namespace ketra::session

#endif  // KETRA_TOOLS_KETRA_SESSION_JSON_DUMP_H_
