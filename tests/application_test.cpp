#include "test.h"
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/services/application.h>

namespace {

using Application = dsap_cDataStorageApplication;

TEST(Application, TheNewestOneIsRegisteredUntilAnyIsDestroyed) {
  EXPECT_THROW(Application::Application(), expt_cProgramException);
  Application first;
  EXPECT_EQ(&Application::Application(), &first);
  std::optional<Application> second(std::in_place);
  EXPECT_EQ(&Application::Application(), &*second);
  {
    Application third;
    const Application copy(first);
    EXPECT_EQ(&Application::Application(), &third);
    *second = third;
    EXPECT_EQ(&Application::Application(), &third);
  }
  EXPECT_THROW(Application::Application(), expt_cProgramException);
}

}  // namespace
