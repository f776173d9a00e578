#include <cstdlib>
#include <iostream>
#include <string_view>

#include <DataStorage/interfaces/application/utap.h>

namespace {

/// The value of the first of two environment variables that is set; empty when neither is.
str_cString Environment(const char* name, const char* other) {
  const char* value = std::getenv(name);
  return str_cString(value != nullptr ? value : std::getenv(other));
}

}  // namespace

mslg_cMessageLog::~mslg_cMessageLog() = default;

void mslg_cMessageLog::Write(const str_cString& message) { std::clog << std::string_view(message) << '\n'; }

utap_cUtilityApplication::utap_cUtilityApplication() = default;
utap_cUtilityApplication::utap_cUtilityApplication(const utap_cUtilityApplication&) = default;
utap_cUtilityApplication& utap_cUtilityApplication::operator=(const utap_cUtilityApplication&) = default;
utap_cUtilityApplication::~utap_cUtilityApplication() = default;

str_cString utap_cUtilityApplication::CurrentUser() const { return Environment("USER", "USERNAME"); }

str_cString utap_cUtilityApplication::HomeDirectory() const { return Environment("HOME", "USERPROFILE"); }

str_cString utap_cUtilityApplication::AdminDirectory() const {
  const char* directory = std::getenv("ALLUSERSPROFILE");
  return str_cString(directory != nullptr ? directory : "/etc");
}

type_cBoolean utap_cUtilityApplication::IsUserAdministrator() const {
  const str_cString user = CurrentUser();
  return user == "root" || user == "Administrator";
}

str_cString utap_cUtilityApplication::RootRegistryKey(rgst_eRootKey root) const {
  return root == rgst_AllUsers ? AdminDirectory() : HomeDirectory();
}

mslg_cMessageLog& utap_cUtilityApplication::MessageLog() const {
  static mslg_cMessageLog log;
  return log;
}
