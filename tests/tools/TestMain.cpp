// The entry point of the tests of the tools. Prepares the environment that all tests of the process
// share.

#include <gmock/gmock.h>

#include <cstdlib>

#include "fixtures/RunTests.h"

int main(int argc, char** argv) {
    // The runs of the tests have local start times, so the tests need a fixed time zone.
    setenv("TZ", "UTC", 1);
    testing::InitGoogleMock(&argc, argv);
    return RunTests();
}
