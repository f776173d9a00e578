#pragma once

#include <DataStorage/interfaces/application/hndl.h>
#include <DataStorage/interfaces/application/utap.h>

/// The library's application object, through which code anywhere reaches application-wide services. The host
/// creates it and owns it; the library never does. The newest one that was constructed (not copied) is the
/// registered one. Create and destroy it while no other thread uses the library.
class DATASTORAGE_EXPORT dsap_cDataStorageApplication : public virtual utap_cUtilityApplication {
 public:
  /// Registers itself in place of any other.
  dsap_cDataStorageApplication();
  /// The copy is not registered.
  dsap_cDataStorageApplication(const dsap_cDataStorageApplication& other);
  /// Registers and forgets nothing.
  dsap_cDataStorageApplication& operator=(const dsap_cDataStorageApplication& other);
  /// Leaves none registered, whichever was.
  ~dsap_cDataStorageApplication() override;

  /// The registered object; throws expt_cProgramException when there is none.
  static dsap_cDataStorageApplication& Application();

  /// The registered object, or none.
  static hndl_cHandle<dsap_cDataStorageApplication> m_hApplication;
};
