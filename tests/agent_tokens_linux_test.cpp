#include <sys/resource.h>

#include <csignal>

#include "tests/support/agent_fixture.h"

using namespace support;

namespace {

/// A disk on which no file grows beyond a few bytes.
class FullDisk {
 public:
  FullDisk() {
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{4, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
  }

 private:
  void (*handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
};

}  // namespace

TEST_F(AgentTest, FullDiskCostsThePageNoToken) {
  agent.On("ZUB_EndProvisioning", Gives("token"));
  const FullDisk full;
  EXPECT_EQ(page.Call("zubEndProvisioning", {"app", 7, 64, "t"}).Show(),
            "pluginRetCode=13 fnRetCode=0 b64EncToken='dG9rZW4='");
}
