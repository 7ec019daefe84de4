// DotGuard: keeps message text from looking like its own end on the wire.
//
// Text that came in by SMTP holds its dots doubled and goes out as it stands. Other text (a notice, a file
// put into an Inbox by hand, lines with bare line ends) may hold a dot alone between line ends, which a far
// side could take for the end of the message. Such a dot is doubled, as the protocols ask; nothing else is
// touched. CR, LF and the text's start all count as line ends here, since far sides differ in what they
// accept. One object for one message, on one thread.
#pragma once

#include <string>
#include <string_view>

namespace velnor {

class DotGuard {
 public:
  // The next piece of the text as it may go out; valid until the next call and as long as `piece`. A dot at
  // the end of a piece may be held back until it shows what follows, so the result may be empty.
  std::string_view Pass(std::string_view piece);

  // What is still held back when the text has ended. A line end of the caller's must follow.
  std::string_view Finish();

 private:
  bool at_line_start_ = true;
  bool dot_held_ = false;
  std::string guarded_;
};

}  // namespace velnor
