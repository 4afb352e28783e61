// The entry point of the port's test programs. Prepares the environment that all tests of a process
// share.

#include <gmock/gmock.h>

#include <cstdlib>

#include "fixtures/RunTests.h"
#include "log/log.h"
#include "platform/fixtures/PrivateFolders.h"

namespace {

// Gives the test process private folders and opens its log there. googletest owns the object.
class PortEnvironment : public testing::Environment {
public:
    void SetUp() override {
        for (const auto& [name, value] : m_Folders.Variables()) {
            if (value.empty()) {
                unsetenv(name.c_str());
            } else {
                setenv(name.c_str(), value.c_str(), 1);
            }
        }
        // The process-wide log opens its file for the first line. Without this line, the first test
        // that logs would determine the file, and some tests change XDG_STATE_HOME.
        quorvel::desktop::LogInfo("tests start");
    }

private:
    PrivateFolders m_Folders;
};

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    testing::AddGlobalTestEnvironment(new PortEnvironment);
    return RunTests();
}
