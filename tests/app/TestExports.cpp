// What the daemon offers to the libraries that it is loaded with.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/app/Daemon.h"
#include "tests/support/Preload.h"

namespace {

TEST(TestExports, ALibraryFindsTheIdentifierFunctionsInTheDaemon) {
    Daemon daemon({"-gk"},
                  [] { return Preload(KESTREL_GUID_LIBRARY) && setenv("KESTREL_TEST_GUID", "1", 1) == 0; });
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_EQ(daemon.Output().rfind("Identifiers in the library: \"\"\n", 0), 0U) << daemon.Output();
}

}  // namespace
