#include "tools/ketra-session/json_dump.h"

#include <gtest/gtest.h>

namespace ketra::session {
namespace {

// The session scripts compare every kind's dump, the device calls, the message boxes, the
// refusals and the errors as JSON values; no script meets an image without a picture.
TEST(JsonDump, AnImageWithoutAPicture) {
  forms::Control image;
  image.name = "Img";
  image.kind = forms::Kind::kImage;
  EXPECT_EQ(ControlJson(image), Json::parse(R"({"control":"Img","kind":"image","picture":""})"));
}

}  // namespace
}  // namespace ketra::session
