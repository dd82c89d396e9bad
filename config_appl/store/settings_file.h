// Reading port settings from the text file "tessaronconfigfile.txt" in the program's directory:
// blocks of a section line naming the port and seven "text=value" lines, read by position.
// Every statement that fails is passed over and the reader goes on with the next.
#ifndef KETRA_CONFIG_APPL_STORE_SETTINGS_FILE_H_
#define KETRA_CONFIG_APPL_STORE_SETTINGS_FILE_H_

#include <string>
#include <string_view>

#include "config_appl/model/panel.h"

namespace ketra {

inline constexpr std::string_view kSettingsFileName = "tessaronconfigfile.txt";

void ReadSettingsFile(Panel& p);

// The port name a section line stands for, by the line's length.
std::string SectionName(std::string_view line);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_STORE_SETTINGS_FILE_H_
