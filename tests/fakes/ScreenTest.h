#ifndef QUORVEL_TESTS_SCREEN_TEST_H_
#define QUORVEL_TESTS_SCREEN_TEST_H_

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "FakeLog.h"
#include "QELXmlParser.h"
#include "Screen.h"
#include "ToolkitCalls.h"
#include "quorvel.h"

// A test with the toolkit running: the application as in a process that has just started, an empty
// data folder, an empty result store, and all windows, timers and workers gone afterwards. Fails
// when a worker thread touched the toolkit.
class ScreenTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // A window with the layout table in it, as QELWindow makes them, in the record.
    void OpenWindow();
    // Adds a failed item to the result store, to both lists.
    static void AddFailed(const ResultItem& item);
    // Adds an item that passed.
    static void AddPassed(const ResultItem& item);

    Elm_Object_Item* Row(unsigned int index) const;
    // Gives the row the focus, which brings "item,focused", and settles the window.
    void FocusRow(unsigned int index);
    // The text of a label, a button or another widget; empty when it has none.
    static std::string TextOf(const Evas_Object* obj);
    static bool IsVisible(const Evas_Object* obj);

    // The names of the record's fields, for ToolkitCalls.
    ToolkitCalls::Names Names() const;

    _appdata ad = {};
};

// The registration of a handler, as ToolkitCalls writes it down under the name.
template <typename Handler>
std::pair<const void* const, std::string> Named(Handler handler, const std::string& name) {
    return {reinterpret_cast<const void*>(handler), name};
}

// An item that the rules accept: its pair (0x52, 0x14) is not block-listed.
ResultItem AnalysableItem(const std::string& name);
ResultItem ItemOfType(const std::string& type, const std::string& name);

#endif  // QUORVEL_TESTS_SCREEN_TEST_H_
