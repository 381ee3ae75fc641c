/// The exit statuses of the programs that open a page.
#pragma once

namespace Kit {

enum ExitStatus {
  kExitPageSucceeded = 0,
  kExitPageFailed = 1,
  kExitUsage = 2,
  kExitNoAnswer = 3,  ///< Time-out, page not loaded, plug-in or display missing.
};

}  // namespace Kit
