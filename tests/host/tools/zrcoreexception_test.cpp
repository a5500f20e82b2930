#include "host/tools/zrcoreexception.h"

#include <gtest/gtest.h>

namespace {

using Domain::CoreExceptionNS::CoreException;
using Domain::CoreExceptionNS::ExceptionType;

TEST(CoreExceptionTest, CarriesItsTypeAndText) {
  try {
    throw CoreException(ExceptionType::General, "why");
  } catch (const std::exception& caught) {
    EXPECT_STREQ("why", caught.what());
  }
  const CoreException silent(static_cast<ExceptionType>(0));
  EXPECT_STREQ("", silent.what());
  EXPECT_EQ(ExceptionType::General, silent.Type());
}

}  // namespace
