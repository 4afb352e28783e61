// The entry point of the test program. Mounts a temporary folder at the fixed path of the data
// folder and runs the tests.

#include <gmock/gmock.h>

#include <cstring>

#include "fakes/FakeLog.h"
#include "fixtures/PrivateData.h"
#include "fixtures/RunTests.h"

namespace {

// Clears the log before every test, and fails a test whose lines do not have the format of a log
// line (inc/quorvel.h).
class LogFormatListener : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& /*info*/) override {
        FakeLog::Clear();
        FakeLog::TakeMalformed();
    }

    void OnTestEnd(const testing::TestInfo& /*info*/) override {
        EXPECT_THAT(FakeLog::TakeMalformed(), testing::IsEmpty())
            << "not in the format of a log line (inc/quorvel.h)";
    }
};

bool IsListing(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--gtest_list_tests") == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (!IsListing(argc, argv) && !PrivateData::IsMounted()) {
        return PrivateData::RunMounted(argv);
    }
    testing::InitGoogleMock(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new LogFormatListener);
    return RunTests();
}
