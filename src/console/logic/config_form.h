// The General page of the configuration: its fields, what they accept, and the commands on them.
//
// The object holds what the page shows, each field under its setting's key: the text of a text or number
// field, and "1" or "0" for a tick box. The window puts the fields in before a command and shows them after
// it. Nothing is stored before Apply. Console thread.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>

#include "console/logic/prompter.h"

namespace velnor {

enum class ConfigFieldKind { TEXT, TICK, NUMBER };

struct ConfigField {
  const char* Key;
  const char* Caption;
  ConfigFieldKind Kind;
};

// In the order in which Apply reads and checks them.
std::span<const ConfigField> ConfigFields();

class ConfigForm {
 public:
  // Takes the settings into the fields.
  explicit ConfigForm(Prompter& prompter);

  // "Simple Anti-spam Enable" was clicked. A box without its tick sets the level to 0.
  void ClickAntiSpam(bool ticked);

  // "...": lets the user choose the mail root.
  void Browse();

  // Checks all fields and stores them. At the first that is refused the message is shown and nothing is
  // stored. A field that the user has left alone holds the setting as it is now, which a reload may have
  // changed.
  void Apply();

  std::string& Value(std::string_view key) { return values_.find(key)->second; }

  bool AntiSpam = false;       // the box; only with it may the level be edited
  const char* FailedKey = "";  // the field that the last Apply refused, or empty

 private:
  using Values = std::map<std::string, std::string, std::less<>>;

  // The settings as the fields show them.
  static Values ReadSettings();

  // Brings the fields that the user has left alone up to date.
  void Refresh();

  Prompter& prompter_;
  Values read_;  // the settings that the fields were filled from
  Values values_;
};

}  // namespace velnor
