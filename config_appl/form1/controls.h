// The names of Form1's controls that the panel's code reaches by name, beside the layout table
// that gives every control its name (form1_layout.cpp builds its rows from these very
// constants). A misspelt name is then a compile error, not a failure at run time. The names
// themselves are fixed: scripts and the window's accessibility name the controls by them.
// Plain constants.
#ifndef KETRA_CONFIG_APPL_FORM1_CONTROLS_H_
#define KETRA_CONFIG_APPL_FORM1_CONTROLS_H_

#include <array>
#include <string_view>

namespace ketra::ctl {

inline constexpr std::string_view kForm = "Form1";

// Page "Config".
inline constexpr std::string_view kPortList = "CMB_PORT";
inline constexpr std::string_view kEnabled = "OPT_ENB";
inline constexpr std::string_view kDisabled = "OPT_DSB";
inline constexpr std::string_view kLocalPort = "TXT_LOCPORT";
inline constexpr std::string_view kFlowFrame = "FRM_FLWCNTRL";
inline constexpr std::string_view kHardwareFlow = "OPT_HWF";
inline constexpr std::string_view kSoftwareFlow = "OPT_SWF";
inline constexpr std::string_view kXonLabel = "LBL_XON";
inline constexpr std::string_view kXon = "TXT_XON";
inline constexpr std::string_view kXoffLabel = "LBL_XOFF";
inline constexpr std::string_view kXoff = "TXT_XOFF";
inline constexpr std::string_view kRemoteFrame = "FRM_REMOTE";
inline constexpr std::string_view kAddressLabel = "LBL_IP";
inline constexpr std::string_view kAddressBox = "TXT_IP";  // the frame of the four parts
inline constexpr std::array<std::string_view, 4> kAddressParts = {"TXT_IP1", "TXT_IP2", "TXT_IP3",
                                                                  "TXT_IP4"};
inline constexpr std::string_view kRemotePortLabel = "LBL_UDP";
inline constexpr std::string_view kRemotePort = "TXT_UDP";
inline constexpr std::string_view kOk = "Command1";
inline constexpr std::string_view kCancel = "Command2";
inline constexpr std::string_view kApply = "CMD_APPLY";
inline constexpr std::string_view kConnect = "CMD_CONNECT";
inline constexpr std::string_view kDisconnect = "CMD_DISCONNECT";

// Page "Status  ".
inline constexpr std::string_view kInterval = "Interval_Time";
inline constexpr std::string_view kIntervalUpDown = "UpDown1";
inline constexpr std::string_view kRefresh = "Command3";
inline constexpr std::string_view kMonitorTimer = "Timer1";
inline constexpr std::array<std::string_view, 4> kLamps = {"VSP1Picture", "VSP2Picture",
                                                           "VSP3Picture", "VSP4Picture"};
// The hidden images the lamps copy their pictures from.
inline constexpr std::string_view kConnectedImage = "Connected";
inline constexpr std::string_view kDisconnectedImage = "Disconnected";
inline constexpr std::string_view kNotInstalledImage = "Notinstalled";

}  // namespace ketra::ctl

#endif  // KETRA_CONFIG_APPL_FORM1_CONTROLS_H_
