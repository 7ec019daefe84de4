// CSystemConfig: everything the server knows of itself. Settings, local domains, rules and mail lists, their
// files, and the operations on them.
//
// One instance, g_SystemConfig, is opened before anything else starts. It has one writer: the thread of the
// console, or of the program without a window. All other threads read at any time: whole numbers are atomic,
// texts are copied out, tables are published whole and never edited in place, so a reader never sees one that
// is half loaded. Nothing is saved unless a caller says so. Operations report by 1 and 0 and log nothing.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/published.h"
#include "platform/fixed_text.h"

namespace velnor {

// One member of a mail list. Permission 0 may post and receive ("RW"), any other value receives only ("R").
struct MailListMember {
  platform::FixedText<127> Address;
  std::int32_t Permission = 0;
};

// An address whose mail is copied to its members, who stand in the order of their adding.
struct MailList {
  platform::FixedText<127> Name;
  std::vector<MailListMember> Members;
};

using NameTable = std::vector<std::string>;
using MailListTable = std::vector<MailList>;

// A whole number that one thread sets and all may read.
using SharedNumber = std::atomic<std::int32_t>;

class CSystemConfig {
 public:
  CSystemConfig() = default;
  CSystemConfig(const CSystemConfig&) = delete;
  CSystemConfig& operator=(const CSystemConfig&) = delete;

  // Sets the places of all files, makes velnor.ini, maillist.ini and the log directory in the working
  // directory where they are missing, and loads the configuration. Failures are ignored: what can't be read
  // has its default.
  void Open(const std::string& working_directory, const std::string& app_directory);

  // As Open, for a program beside the server: makes no file and no directory, so a domain stands in the table
  // whether or not it has its directory.
  void OpenExisting(const std::string& working_directory, const std::string& app_directory);

  // Reads all settings, domains, rules and mail lists anew, and makes the spool directory if it is missing.
  void LoadConfig();

  // The same while services run. 0, with all that is loaded left as it is, if velnor.ini can't be read or its
  // mail root is no directory: domains whose directories can't be found would fall away, and their mail take
  // the road to other hosts.
  int Reload();

  // Writes all settings but the domains, then loads the domains, which makes their directories.
  void SaveConfig();

  void LoadDomains();
  void SaveDomains();

  // Adds a domain and makes its directory. 0 if it is there already, if the directory can't be made, if the
  // stored list has no room for it, or if the name can be no domain's (IsStoreName refuses it, it holds "|",
  // "*" or "?", or it is the spool's). DeleteDomain takes the domain's directory with all its mail away; 1
  // also for a name that is not in the table, 0 if the directory could not be removed whole. UpdateDomain
  // renames the entry, and the directory if the new one is not there yet; 0 if there is no such entry, the
  // name can be no domain's, or the rename failed. The caller saves by SaveDomains.
  int AddDomain(std::string_view name);
  int DeleteDomain(std::string_view name);
  int UpdateDomain(std::string_view old_name, std::string_view new_name);

  // 1 if the name equals a local domain without regard to case. Any thread.
  int IsLocalDomain(std::string_view name) const;

  // The first local domain, or "localhost" when there is none. Any thread.
  std::string DefaultDomain() const;

  // Rules: patterns of forbidden peers, kept in rules.ini of the program's directory (policy/rules.cpp).
  std::string RulesPath() const;
  void LoadRules();
  void SaveRules() const;
  int AddRule(std::string_view pattern);     // 0 if it is in the table already
  int DeleteRule(std::string_view pattern);  // 0 if it is not in the table
  // 1 if a rule forbids the peer with this dotted address. Any thread.
  int IsBlockedPeer(std::string_view address) const;

  // Mail lists, kept in maillist.ini (policy/mail_lists.cpp). Changes count at once and are lost unless
  // saved.
  void LoadMailLists();
  void SaveMailLists() const;
  int AddMailList(std::string_view name);     // 0 if the name exists
  int DeleteMailList(std::string_view name);  // 0 if there is no such list
  // 0 if there is no such list, or if the address is (is not) in it.
  int AddListMember(std::string_view name, std::string_view address, std::int32_t permission);
  int RemoveListMember(std::string_view name, std::string_view address);
  // The list or member as it stands, or none. What is returned stays whole when the table changes. Any
  // thread.
  std::shared_ptr<const MailList> FindMailList(std::string_view name) const;
  std::optional<MailListMember> FindListMember(std::string_view name, std::string_view address) const;

  // "send" under the mail root, where messages wait. Any thread.
  std::string SpoolPath() const;

  Published<NameTable> LocalDomains;
  Published<NameTable> Rules;
  Published<MailListTable> MailLists;

  SharedNumber AutoStart = 0;  // 1: the console starts the services when it comes up
  SharedNumber LogToFile = 0;  // not 0: log lines also go to the daily file
  SharedNumber Pop3Port = 0;
  SharedNumber SmtpPort = 0;
  SharedNumber WebPort = 0;         // kept only
  SharedNumber MaxSizePerMail = 0;  // megabytes of 1,048,576 bytes
  SharedText IniPath{255};
  SharedText MailListPath{255};
  SharedText LogPath{255};
  SharedText MailPath{255};  // the mail root
  SharedText WebPath{255};   // kept only
  SharedText PrimaryDNS{49};
  SharedText SecondaryDNS{49};
  SharedNumber AntiSpamLevel = 0;  // 0 is off; 1, 2 and 3 turn the HELO test on

 private:
  std::string DomainPath(std::string_view name) const;

  void SetPlaces(const std::string& working_directory, const std::string& app_directory);
  void LoadSettings();

  // The names in the stored list of domains, as they stand there.
  NameTable StoredDomains() const;

  // Adds a domain to a table that is not published yet, as AddDomain does.
  int AddDomainTo(NameTable& domains, std::string_view name) const;

  std::string app_directory_;
};

extern CSystemConfig g_SystemConfig;

}  // namespace velnor
