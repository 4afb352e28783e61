#ifndef QUORVEL_TESTS_STORE_TEST_H_
#define QUORVEL_TESTS_STORE_TEST_H_

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "QELXmlParser.h"
#include "fakes/FakeLog.h"
#include "fakes/PrivateData.h"
#include "fakes/ResultFiles.h"

// A test of the stores: starts without store, log line or file in the data folder, and leaves none.
class StoreTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // The result store; created when there is none yet.
    static QELXmlParser& Store();
    // Writes the main file, has a new store read both files, and forgets what was logged. Every
    // reference into the stores of before is invalid then.
    static QELXmlParser& Load(const std::string& mainFile);
    // Loads a complete main file with these items.
    static QELXmlParser& LoadItems(const std::vector<xml::Fields>& items);
};

#endif  // QUORVEL_TESTS_STORE_TEST_H_
