#pragma once

#include <DataStorage/interfaces/application/mslg.h>
#include <DataStorage/interfaces/application/rgst.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/interfaces/tgio.h>
#include <DataStorage/interfaces/type.h>

/// Base of application objects: the user, the directories of settings, and a message log. The values come
/// from environment variables; texts are empty where these are not set. Applications override them as needed.
class DATASTORAGE_EXPORT utap_cUtilityApplication : public tgio_cTaggedStreamObject {
 public:
  /// Stores nothing: each value is looked up when it is requested.
  utap_cUtilityApplication();
  utap_cUtilityApplication(const utap_cUtilityApplication&);
  utap_cUtilityApplication& operator=(const utap_cUtilityApplication&);
  virtual ~utap_cUtilityApplication();

  /// The name under which the user is logged in.
  virtual str_cString CurrentUser() const;
  /// The directory of the user's own files.
  virtual str_cString HomeDirectory() const;
  /// The directory of settings for all users; "/etc" where the environment has none.
  virtual str_cString AdminDirectory() const;
  /// Whether the user name is "root" or "Administrator".
  virtual type_cBoolean IsUserAdministrator() const;
  /// The directory that holds the settings.
  virtual str_cString RootRegistryKey(rgst_eRootKey root) const;
  /// One log for all application objects, valid until the program ends.
  virtual mslg_cMessageLog& MessageLog() const;
};
