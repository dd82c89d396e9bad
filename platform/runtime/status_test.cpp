#include "platform/runtime/status.h"

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

namespace ketra::runtime {
namespace {

TEST(Status, CarriesItsCodeAndReasonAndStatusOrItsValue) {
  const Status failed = Status::FromErrno("bind", EACCES);
  EXPECT_FALSE(failed.ok());
  EXPECT_EQ(failed.code(), Status::Code::kIoError);
  EXPECT_EQ(failed.message().rfind("bind: ", 0), 0u);

  StatusOr<std::string> none(Status::NotFound("no daemon"));
  EXPECT_FALSE(none.ok());
  EXPECT_TRUE(none.status().IsNotFound());
  // An ok Status never stands for a missing value.
  StatusOr<int> wrongly_ok(Status::Ok());
  EXPECT_FALSE(wrongly_ok.ok());
  EXPECT_FALSE(wrongly_ok.status().ok());
}

}  // namespace
}  // namespace ketra::runtime
