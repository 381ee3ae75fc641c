#pragma once

#include <gtest/gtest.h>

#include "tests/support/environment.h"
#include "tests/support/page.h"

namespace support {

/// A page on a stand-in library that has every entry point, and tells no version until it is given one.
class AgentTest : public testing::Test {
 protected:
  Environment environment;
  AgentStub agent{environment};
  TestHost host;
  Page page{host};
};

}  // namespace support
