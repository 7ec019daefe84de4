// Giving the server's files to the account under which the service manager will run it. Main thread.
#pragma once

#include <string>

#include "platform/account.h"

namespace velnor {

// Gives the account what is the server's in the working directory and in the mail root of the open
// configuration: the configuration files, the logs, the spool and the domains' directories. The two
// directories themselves go with it if they hold nothing else, so that a home directory stays its owner's.
//
// All of it must belong to the owner of velnor.ini (of the working directory where there is none) or to the
// account, unless that owner is the administrator: whoever wrote the file may name any place in it. The
// reason if not all was given.
std::string GiveServerFiles(const std::string& working_directory, const std::string& mail_root,
                            const platform::Account& account);

}  // namespace velnor
