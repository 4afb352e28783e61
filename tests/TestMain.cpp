// The entry of the test program: lays a temporary folder at the fixed data path, then runs the
// tests.

#include <gmock/gmock.h>

#include <cstring>

#include "fakes/FakeLog.h"
#include "fixtures/PrivateData.h"

namespace {

// Every test starts with an empty log, and no test passes whose lines break the log convention.
class LogConvention : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& /*info*/) override {
        FakeLog::Clear();
        FakeLog::TakeMalformed();
    }

    void OnTestEnd(const testing::TestInfo& /*info*/) override {
        EXPECT_THAT(FakeLog::TakeMalformed(), testing::IsEmpty())
            << "not as the log convention has it";
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
    if (!IsListing(argc, argv) && !PrivateData::IsLaid()) {
        return PrivateData::RunLaid(argv);
    }
    testing::InitGoogleMock(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new LogConvention);
    return RUN_ALL_TESTS();
}
