// The entry of the port's tests: what runs in this process itself uses private folders too.

#include <gmock/gmock.h>

#include <cstdlib>

#include "platform/fixtures/PrivateFolders.h"

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    const PrivateFolders folders;
    for (const auto& [name, value] : folders.Variables()) {
        if (value.empty()) {
            unsetenv(name.c_str());
        } else {
            setenv(name.c_str(), value.c_str(), 1);
        }
    }
    return RUN_ALL_TESTS();
}
