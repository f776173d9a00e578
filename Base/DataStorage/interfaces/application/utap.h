#pragma once

#include <DataStorage/interfaces/application/mslg.h>
#include <DataStorage/interfaces/application/rgst.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/interfaces/tgio.h>
#include <DataStorage/interfaces/type.h>

/// What every application object offers: who runs the program, where settings live, and a message log. The
/// answers come from the environment; where it does not tell, texts are empty. Hosts that know better
/// override them.
class DATASTORAGE_EXPORT utap_cUtilityApplication : public tgio_cTaggedStreamObject {
 public:
  /// Nothing is held: each answer is looked up when it is asked for.
  utap_cUtilityApplication();
  utap_cUtilityApplication(const utap_cUtilityApplication&);
  utap_cUtilityApplication& operator=(const utap_cUtilityApplication&);
  virtual ~utap_cUtilityApplication();

  /// The name under which the user is logged in.
  virtual str_cString CurrentUser() const;
  /// The directory of the user's own files.
  virtual str_cString HomeDirectory() const;
  /// The directory of settings for all users.
  virtual str_cString AdminDirectory() const;
  /// Whether the user is called as the administrator of the system usually is.
  virtual type_cBoolean IsUserAdministrator() const;
  /// The directory under which settings stand.
  virtual str_cString RootRegistryKey(rgst_eRootKey root) const;
  /// One log for all application objects, valid until the program ends.
  virtual mslg_cMessageLog& MessageLog() const;
};
