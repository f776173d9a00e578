#include <DataStorage/interfaces/expt.h>
#include <DataStorage/services/application.h>

constinit hndl_cHandle<dsap_cDataStorageApplication> dsap_cDataStorageApplication::m_hApplication;

dsap_cDataStorageApplication::dsap_cDataStorageApplication() { m_hApplication.Set(*this); }

dsap_cDataStorageApplication::dsap_cDataStorageApplication(const dsap_cDataStorageApplication& other)
    : utap_cUtilityApplication(other) {}

dsap_cDataStorageApplication& dsap_cDataStorageApplication::operator=(
    const dsap_cDataStorageApplication& other) = default;

dsap_cDataStorageApplication::~dsap_cDataStorageApplication() { m_hApplication.Clear(); }

dsap_cDataStorageApplication& dsap_cDataStorageApplication::Application() {
  if (m_hApplication.bEmpty()) detail::SourceFile{"application"}.ThrowProgramError();
  return *m_hApplication.Pointer();
}
