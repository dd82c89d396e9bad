// Form1 as data. The rows follow the form's layout tables: the window, the tab control, the
// "Config" page and its groups, then the "Status  " page, its lamps and the timer.
#include "config_appl/form1/form1_layout.h"

#include <string_view>

#include "config_appl/form1/controls.h"
#include "platform/forms/layout_row.h"

namespace ketra {
namespace {

using forms::Kind;
using forms::LayoutRow;
using forms::Picture;

constexpr std::string_view kTabCaptions[] = {"Config", "Status  "};

// Help shown over the boxes: what each takes. The length limits leave a port four digits.
constexpr std::string_view kPortTip = "A UDP port number, 1 to 9999";
constexpr std::string_view kAddressTip = "One number of the address, 0 to 255";
constexpr std::string_view kFlowCharacterTip =
    "One character, or &H and its code in hexadecimal, such as &H11";

// Every image is the size of its picture: 19 by 22 pixels at 12 twips a pixel.
constexpr int kImageWidth = 228;
constexpr int kImageHeight = 264;

constexpr forms::ControlSpec kForm1[] = {
    // The form's own row: the client area's size and its design position on the screen.
    LayoutRow(ctl::kForm, Kind::kForm).At(4332, 1080, 6036, 8832).Caption("Ketra_v1.4.2"),
    // Its lower edge lies 183 twips below the client area.
    LayoutRow("SSTab1", Kind::kTab, ctl::kForm).At(120, 120, 5805, 8895).Tab(0).Pages(kTabCaptions),

    // Page "Config".
    LayoutRow("Frame2", Kind::kFrame, "SSTab1").Page(0).At(240, 600, 5415, 8055).Tab(2),
    LayoutRow("Frame3", Kind::kFrame, "Frame2")
        .At(240, 360, 4335, 2055)
        .Tab(22)
        .Caption("Local Settings"),
    LayoutRow(ctl::kFlowFrame, Kind::kFrame, "Frame2")
        .At(240, 2520, 4335, 2415)
        .Tab(15)
        .Caption("Flow Control Mechanism"),
    LayoutRow(ctl::kRemoteFrame, Kind::kFrame, "Frame2")
        .At(240, 5040, 4335, 1695)
        .Tab(8)
        .Caption("Remote Settings"),
    LayoutRow(ctl::kOk, Kind::kButton, "Frame2").At(240, 7440, 1335, 495).Tab(4).Caption("&OK"),
    LayoutRow(ctl::kCancel, Kind::kButton, "Frame2")
        .At(1680, 7440, 1335, 495)
        .Tab(3)
        .Caption("&Cancel"),
    LayoutRow(ctl::kApply, Kind::kButton, "Frame2")
        .At(3120, 7440, 1335, 495)
        .Tab(7)
        .Caption("&Apply"),
    // The driver commands stand complete behind buttons that nothing ever shows.
    LayoutRow(ctl::kConnect, Kind::kButton, "Frame2")
        .At(240, 6960, 1335, 495)
        .Tab(6)
        .Caption("&Connect")
        .Hidden(),
    LayoutRow(ctl::kDisconnect, Kind::kButton, "Frame2")
        .At(1680, 6960, 1335, 495)
        .Tab(5)
        .Caption("&Disconnect")
        .Hidden(),

    // In Frame3.
    LayoutRow("Label1", Kind::kLabel, "Frame3")
        .At(240, 480, 1455, 375)
        .Tab(26)
        .Caption("VCOM Port"),
    // A drop-down list: no entries at design, no text of its own.
    LayoutRow(ctl::kPortList, Kind::kComboBox, "Frame3")
        .At(1560, 480, 2055, 315)
        .Tab(28)
        .NamedBy("Label1"),
    LayoutRow("Label2", Kind::kLabel, "Frame3")
        .At(240, 960, 1215, 375)
        .Tab(27)
        .Caption("Local UDP Port"),
    LayoutRow(ctl::kLocalPort, Kind::kTextBox, "Frame3")
        .At(1560, 960, 975, 285)
        .Tab(25)
        .Caption("3000")
        .Limit(4)
        .NamedBy("Label2")
        .Tip(kPortTip),
    LayoutRow(ctl::kEnabled, Kind::kOption, "Frame3")
        .At(240, 1440, 1215, 375)
        .Tab(23)
        .Caption("Enable")
        .Selected(),
    LayoutRow(ctl::kDisabled, Kind::kOption, "Frame3")
        .At(1440, 1440, 1335, 375)
        .Tab(24)
        .Caption("Disable"),

    // In FRM_FLWCNTRL.
    LayoutRow(ctl::kHardwareFlow, Kind::kOption, ctl::kFlowFrame)
        .At(240, 600, 1935, 375)
        .Tab(16)
        .Caption("Hardware Flow Control")
        .Selected(),
    LayoutRow(ctl::kSoftwareFlow, Kind::kOption, ctl::kFlowFrame)
        .At(240, 1080, 1935, 375)
        .Tab(17)
        .Caption("Software Flow Control"),
    LayoutRow(ctl::kXonLabel, Kind::kLabel, ctl::kFlowFrame)
        .At(240, 1560, 615, 255)
        .Tab(20)
        .Caption("XON")
        .Disabled(),
    LayoutRow(ctl::kXon, Kind::kTextBox, ctl::kFlowFrame)
        .At(240, 1800, 975, 285)
        .Tab(18)
        .Caption("a")
        .Limit(4)
        .Disabled()
        .NamedBy(ctl::kXonLabel)
        .Tip(kFlowCharacterTip),
    LayoutRow(ctl::kXoffLabel, Kind::kLabel, ctl::kFlowFrame)
        .At(1320, 1560, 615, 255)
        .Tab(21)
        .Caption("XOFF")
        .Disabled(),
    LayoutRow(ctl::kXoff, Kind::kTextBox, ctl::kFlowFrame)
        .At(1320, 1800, 975, 285)
        .Tab(19)
        .Caption("b")
        .Limit(4)
        .Disabled()
        .NamedBy(ctl::kXoffLabel)
        .Tip(kFlowCharacterTip),

    // In FRM_REMOTE.
    LayoutRow(ctl::kRemotePortLabel, Kind::kLabel, ctl::kRemoteFrame)
        .At(120, 600, 1695, 255)
        .Tab(12)
        .Caption("UDP Port On BGAN"),
    LayoutRow(ctl::kRemotePort, Kind::kTextBox, ctl::kRemoteFrame)
        .At(1800, 600, 1095, 285)
        .Tab(9)
        .Caption("3003")
        .Limit(4)
        .NamedBy(ctl::kRemotePortLabel)
        .Tip(kPortTip),
    LayoutRow(ctl::kAddressLabel, Kind::kLabel, ctl::kRemoteFrame)
        .At(120, 1080, 1575, 255)
        .Tab(13)
        .Caption("IP Address Of BGAN"),
    LayoutRow(ctl::kAddressParts[0], Kind::kTextBox, ctl::kRemoteFrame)
        .At(1800, 1080, 495, 285)
        .Tab(11)
        .Caption("192")
        .Limit(3)
        .NamedBy(ctl::kAddressLabel)
        .Tip(kAddressTip),
    LayoutRow(ctl::kAddressParts[1], Kind::kTextBox, ctl::kRemoteFrame)
        .At(2400, 1080, 495, 285)
        .Tab(29)
        .Caption("168")
        .Limit(3)
        .NamedBy(ctl::kAddressLabel)
        .Tip(kAddressTip),
    // The last two address numbers have no length limit at all.
    LayoutRow(ctl::kAddressParts[2], Kind::kTextBox, ctl::kRemoteFrame)
        .At(3000, 1080, 495, 285)
        .Tab(30)
        .Caption("1")
        .NamedBy(ctl::kAddressLabel)
        .Tip(kAddressTip),
    LayoutRow(ctl::kAddressParts[3], Kind::kTextBox, ctl::kRemoteFrame)
        .At(3600, 1080, 495, 285)
        .Tab(31)
        .Caption("35")
        .NamedBy(ctl::kAddressLabel)
        .Tip(kAddressTip),
    LayoutRow(ctl::kAddressBox, Kind::kTextBox, ctl::kRemoteFrame)
        .At(1800, 240, 1695, 285)
        .Tab(10)
        .Hidden(),
    // Lies to the right of the frame's width, so it is never seen.
    LayoutRow("Label3", Kind::kLabel, ctl::kRemoteFrame)
        .At(4680, 960, 135, 135)
        .Tab(14)
        .Caption("."),

    // Page "Status  ".
    LayoutRow("Frame1", Kind::kFrame, "SSTab1").Page(1).At(240, 600, 5175, 7935).Tab(1),
    LayoutRow("Monitor", Kind::kLabel, "Frame1")
        .At(240, 480, 1335, 255)
        .Tab(32)
        .Caption("Monitor Interval"),
    LayoutRow(ctl::kInterval, Kind::kTextBox, "Frame1")
        .At(1560, 360, 975, 405)
        .Tab(33)
        .Caption("0")
        .Limit(4)
        .NamedBy("Monitor"),
    LayoutRow(ctl::kIntervalUpDown, Kind::kUpDown, "Frame1")
        .At(2520, 360, 255, 375)
        .Tab(44)
        .NamedBy("Monitor"),
    LayoutRow(ctl::kRefresh, Kind::kButton, "Frame1")
        .At(3240, 360, 1695, 375)
        .Tab(34)
        .Caption("Refresh"),
    LayoutRow("Label8", Kind::kLabel, "Frame1")
        .At(240, 1680, 2655, 255)
        .Tab(40)
        .Caption("VSP Connection Status"),
    LayoutRow("Frame4", Kind::kFrame, "Frame1").At(240, 2160, 4455, 2175).Tab(35),
    LayoutRow("Label9", Kind::kLabel, "Frame1")
        .At(840, 5100, 1215, 255)
        .Tab(41)
        .Caption(ctl::kConnectedImage)
        .Centred(),
    LayoutRow("Label10", Kind::kLabel, "Frame1")
        .At(1080, 5700, 1095, 255)
        .Tab(42)
        .Caption(ctl::kDisconnectedImage),
    LayoutRow("Label11", Kind::kLabel, "Frame1")
        .At(1080, 6300, 975, 255)
        .Tab(43)
        .Caption("Not Installed"),

    // In Frame4: the headings of the four lamps.
    LayoutRow("Label4", Kind::kLabel, "Frame4").At(480, 720, 495, 255).Tab(39).Caption("VSP1"),
    LayoutRow("Label5", Kind::kLabel, "Frame4").At(1440, 720, 615, 255).Tab(38).Caption("VSP2"),
    LayoutRow("Label6", Kind::kLabel, "Frame4").At(2400, 720, 615, 255).Tab(37).Caption("VSP3"),
    LayoutRow("Label7", Kind::kLabel, "Frame4").At(3480, 720, 615, 255).Tab(36).Caption("VSP4"),

    // The lamps and the legend.
    LayoutRow(ctl::kLamps[0], Kind::kImage, "Frame4")
        .At(480, 1200, kImageWidth, kImageHeight)
        .Shows(Picture::kGreen)
        .NamedBy("Label4"),
    LayoutRow(ctl::kLamps[1], Kind::kImage, "Frame4")
        .At(1440, 1200, kImageWidth, kImageHeight)
        .Shows(Picture::kGrey)
        .NamedBy("Label5"),
    LayoutRow(ctl::kLamps[2], Kind::kImage, "Frame4")
        .At(2400, 1200, kImageWidth, kImageHeight)
        .Shows(Picture::kRed)
        .NamedBy("Label6"),
    LayoutRow(ctl::kLamps[3], Kind::kImage, "Frame4")
        .At(3480, 1200, kImageWidth, kImageHeight)
        .Shows(Picture::kRed)
        .NamedBy("Label7"),
    LayoutRow(ctl::kConnectedImage, Kind::kImage, "Frame1")
        .At(360, 5040, kImageWidth, kImageHeight)
        .Shows(Picture::kGreen)
        .NamedBy("Label9"),
    LayoutRow(ctl::kDisconnectedImage, Kind::kImage, "Frame1")
        .At(360, 5640, kImageWidth, kImageHeight)
        .Shows(Picture::kRed)
        .NamedBy("Label10"),
    LayoutRow(ctl::kNotInstalledImage, Kind::kImage, "Frame1")
        .At(360, 6240, kImageWidth, kImageHeight)
        .Shows(Picture::kGrey)
        .NamedBy("Label11"),

    // Once a minute, from the start, whichever page is shown; no appearance at run time.
    LayoutRow(ctl::kMonitorTimer, Kind::kTimer, "Frame1").Every(60000),
};

}  // namespace

std::span<const forms::ControlSpec> Form1Layout() { return kForm1; }

}  // namespace ketra
