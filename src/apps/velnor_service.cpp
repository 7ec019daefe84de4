// VelnorService: the server without a window.

#include <cstdio>

#include "apps/headless_host.h"

int main(int argc, char**) {
  if (argc > 1) {
    std::fputs(
        "usage: VelnorService\nRuns the mail server with the configuration of the working directory.\n",
        stderr);
    return 2;
  }
  return velnor::RunHeadlessHost();
}
