#pragma once

#include <DataStorage/interfaces/application/hndl.h>
#include <DataStorage/interfaces/application/utap.h>

/// The library's application object, through which all code reaches application-wide services. The host
/// program creates and owns it. The object constructed last (not copied) is the registered one. Requires that
/// no other thread uses the library while it is created or destroyed.
class DATASTORAGE_EXPORT dsap_cDataStorageApplication : public virtual utap_cUtilityApplication {
 public:
  /// Registers itself in place of any other.
  dsap_cDataStorageApplication();
  /// The copy is not registered.
  dsap_cDataStorageApplication(const dsap_cDataStorageApplication& other);
  /// Does not change which object is registered.
  dsap_cDataStorageApplication& operator=(const dsap_cDataStorageApplication& other);
  /// Removes the registration, even that of another object.
  ~dsap_cDataStorageApplication() override;

  /// The registered object; throws expt_cProgramException when there is none.
  static dsap_cDataStorageApplication& Application();

  /// The registered object, if any.
  static hndl_cHandle<dsap_cDataStorageApplication> m_hApplication;
};
