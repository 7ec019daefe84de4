// The pages of the about box: the caption of the button that shows a page, and its text. Constant.
#pragma once

#include <span>

namespace velnor {

struct AboutPage {
  const char* Button;  // with the ampersand of its mnemonic
  const char* Text;
};

// Production, the statement of rights, Thanks. The box opens with the first.
std::span<const AboutPage> AboutPages();

}  // namespace velnor
