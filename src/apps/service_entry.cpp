#include "apps/service_entry.h"

#include <filesystem>

#include "apps/service_files.h"
#include "apps/service_unit.h"
#include "console/logic/service_control.h"
#include "core/paths.h"
#include "core/system_config.h"
#include "platform/account.h"
#include "platform/file.h"
#include "platform/file_replacement.h"
#include "platform/file_rights.h"
#include "platform/standard_output.h"

namespace velnor {
namespace {

namespace fs = std::filesystem;
using platform::ManagerScope;

constexpr const char* OWN_ACCOUNT = "velnor";

const std::string UNIT = std::string(SERVICE_NAME) + ".service";

int Refuse(const std::string& reason) {
  platform::WriteStandardError(reason + "\n");
  return 1;
}

std::string UnitPath(const ServiceOrder& order) {
  const std::string directory =
      order.UnitDirectory.empty() ? platform::UnitDirectory(order.Scope) : order.UnitDirectory;
  return directory.empty() ? directory : JoinPath(directory, UNIT);
}

// The path in full and without links, as far as it exists.
std::string FullPath(const fs::path& base, const std::string& path) {
  std::error_code error;
  const fs::path full = base / path;
  const fs::path plain = fs::weakly_canonical(full, error);
  return error ? full.string() : plain.string();
}

// What the unit says, from the configuration that the server will read. That has been opened.
UnitSettings Settings(const ServiceOrder& order, const std::string& directory) {
  UnitSettings settings;
  settings.Scope = order.Scope;
  settings.Program = platform::ProgramPath();
  settings.Directory = directory;
  settings.MailRoot = FullPath(directory, g_SystemConfig.MailPath.Get());
  settings.Account = order.Account.empty() ? OWN_ACCOUNT : order.Account;
  return settings;
}

bool WriteUnit(const std::string& path, const std::string& text) {
  // A link in the unit's place masks it, or leads to a unit of somebody else.
  if (platform::IsLink(path)) platform::DeleteFile(path);
  std::error_code ignored;  // what could not be made shows when the file can't be
  fs::create_directories(fs::path(path).parent_path(), ignored);
  platform::FileReplacement file;
  if (!file.Open(path)) return false;
  file.Write(text);
  if (!file.TakeOver()) return false;
  platform::ShareAsParent(path);
  return true;
}

// Makes sure that the account is there and has what is the server's. The reason if it could not be done.
std::string PrepareAccount(const ServiceOrder& order, const UnitSettings& settings) {
  if (order.Account.empty() && !platform::FindAccount(OWN_ACCOUNT)) {
    platform::CreateServiceAccount(OWN_ACCOUNT, "Velnor mail server");
  }
  const auto account = platform::FindAccount(settings.Account);
  if (!account) return "There is no account " + settings.Account;
  for (const std::string& path : {settings.Program, settings.Directory, settings.MailRoot}) {
    if (!platform::CanReach(*account, path))
      return "The account " + settings.Account + " can't reach " + path;
  }
  return GiveServerFiles(settings.Directory, settings.MailRoot, *account);
}

// Why no unit can be made of the settings; empty if one can.
std::string UnfitPlace(const UnitSettings& settings) {
  for (const std::string& path : {settings.Program, settings.Directory, settings.MailRoot}) {
    if (!FitsUnit(path)) return "The path can't stand in a unit: " + path;
  }
  const bool is_root = settings.MailRoot == "/" || settings.Directory == "/";
  return is_root ? "The server needs a directory of its own" : "";
}

int EnterService(const ServiceOrder& order) {
  const std::string directory = FullPath(platform::CurrentDirectory(), order.Directory);
  if (PathExists(directory, PathFlag::DIRECTORY) == 0) return Refuse(directory + " is no directory");
  g_SystemConfig.OpenExisting(directory, AppDirectory());
  const UnitSettings settings = Settings(order, directory);
  const std::string unfit = UnfitPlace(settings);
  if (!unfit.empty()) return Refuse(unfit);

  platform::ServiceManager manager(order.Scope);
  const bool is_trial = !order.UnitDirectory.empty();
  if (!is_trial) {
    if (!manager.OpenManager()) return Refuse("There is no service manager that answers");
    if (order.Scope == ManagerScope::SYSTEM) {
      if (!platform::IsAdministrator()) return Refuse("Only root enters a service for the whole machine");
      const std::string reason = PrepareAccount(order, settings);
      if (!reason.empty()) return Refuse(reason);
    }
  }
  const std::string path = UnitPath(order);
  if (!WriteUnit(path, UnitText(settings))) return Refuse("The unit can't be written: " + path);
  if (is_trial || manager.Enable(UNIT)) return 0;
  return Refuse("The unit was written, but will not start by itself: " + path);
}

// Stops and deletes the unit that this program has written. The exit status.
int TakeOutOwnUnit(platform::ServiceManager& manager, bool has_manager, const std::string& path) {
  int status = 0;
  if (has_manager && !manager.Disable(UNIT)) status = Refuse("The service manager did not stop the service");
  if (platform::DeleteFile(path) != 0) return Refuse("The unit can't be deleted: " + path);
  if (has_manager) manager.ReadUnits();
  return status;
}

// One from elsewhere, as a package brings it, stays as a file, and nobody can start it until it is entered
// anew.
int TakeOutForeignUnit(platform::ServiceManager& manager) {
  if (!manager.Mask(UNIT)) return Refuse("The service manager did not mask the unit " + UNIT);
  platform::WriteStandardError("The unit " + UNIT + " of a package stays, but is stopped and masked\n");
  return 0;
}

int TakeOutService(const ServiceOrder& order) {
  const std::string path = UnitPath(order);
  platform::ServiceManager manager(order.Scope);
  // Where no manager answers there is still the file.
  const bool has_manager = order.UnitDirectory.empty() && manager.OpenManager();
  const bool is_own = platform::ProbePath(path) == platform::PathKind::FILE;
  const int status = is_own ? TakeOutOwnUnit(manager, has_manager, path) : 0;
  const bool is_foreign = has_manager && status == 0 && manager.OpenService(UNIT);
  if (is_foreign) return TakeOutForeignUnit(manager);
  return is_own ? status : Refuse("There is no unit " + path);
}

// Takes an option that stands alone. False if it is none of these.
bool TakeFlag(std::string_view argument, ServiceOrder& order) {
  if (argument != "--system" && argument != "--user") return false;
  order.Scope = argument == "--user" ? ManagerScope::USER : ManagerScope::SYSTEM;
  return true;
}

// The place of an option's value, or none. Some options make no sense for taking out.
std::string* ValueOf(std::string_view option, ServiceOrder& order) {
  if (option == "--unit-directory") return &order.UnitDirectory;
  if (option == "--directory" && order.Enter) return &order.Directory;
  if (option == "--account" && order.Enter) return &order.Account;
  return nullptr;
}

}  // namespace

std::optional<ServiceOrder> ReadServiceOrder(std::span<const std::string_view> arguments) {
  if (arguments.empty()) return std::nullopt;
  ServiceOrder order;
  order.Enter = arguments[0] == SWITCH_INSTALL;
  if (!order.Enter && arguments[0] != SWITCH_UNINSTALL) return std::nullopt;
  order.Scope = platform::IsAdministrator() ? ManagerScope::SYSTEM : ManagerScope::USER;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    if (TakeFlag(arguments[i], order)) continue;
    std::string* const value = ValueOf(arguments[i], order);
    if (value == nullptr || i + 1 == arguments.size() || arguments[i + 1].empty()) return std::nullopt;
    *value = arguments[++i];
  }
  if (!order.Account.empty() && order.Scope == ManagerScope::USER) return std::nullopt;
  return order;
}

int CarryOut(const ServiceOrder& order) {
  return order.Enter ? EnterService(order) : TakeOutService(order);
}

}  // namespace velnor
