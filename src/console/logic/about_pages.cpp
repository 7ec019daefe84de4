#include "console/logic/about_pages.h"

#include <array>

namespace velnor {
namespace {

constexpr std::array PAGES = {
    AboutPage{"&Production",
              "Velnor System v1.0\n\n"
              "Velnor is a 32-bit multi-domain mail server for internet and intranet use. "
              "It supports POP3 and SMTP/ESMTP."},
    AboutPage{"&Copyright",
              "Copyright (C) the Velnor authors. All rights reserved.\n\n"
              "The program comes without warranty of any kind, to the extent that the law permits. "
              "Whoever runs a mail server answers for the mail that it takes in and sends out."},
    AboutPage{"&Thanks",
              "Thanks to everybody who ran Velnor early and told what went wrong, to the authors of the "
              "mail standards, and to those who make the toolkit that draws this window."},
};

}  // namespace

std::span<const AboutPage> AboutPages() {
  return PAGES;
}

}  // namespace velnor
