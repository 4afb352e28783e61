#ifndef QUORVEL_TESTS_SCREEN_TEST_H_
#define QUORVEL_TESTS_SCREEN_TEST_H_

#include <gmock/gmock.h>

#include <array>
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

    // Weight and alignment of an object, each horizontal and vertical.
    using Placing = std::array<double, 4>;
    static constexpr Placing FILLING = {1.0, 1.0, -1.0, -1.0};
    static Placing PlacingOf(const Evas_Object* obj);

    // What all views have in common. Each is called with the view's own file as source.
    // Its Create or Destroy does nothing without the record, and says so.
    template <typename View>
    static void ExpectRecordIsNeeded(View& view, void (View::*operation)(_appdata*),
                                     const std::string& name, const std::string& source);
    // Its Destroy before Create leaves the toolkit alone.
    template <typename View>
    void ExpectNothingToDestroy(View& view);
    // It shows an object at the location, and in this cell.
    template <typename View>
    void ExpectPlaced(View& view, int location, const Cell& cell, const Placing& placing = FILLING);
    // It shows an object for each of these locations, but nowhere, and says so.
    template <typename View>
    void ExpectShownButNotPlaced(View& view, const std::vector<int>& locations,
                                 const std::string& source);

    _appdata ad = {};

private:
    Evas_Object* MakeObject();
    void ExpectNowhere(const Evas_Object* obj, int location, const std::string& source);
};

template <typename View>
void ScreenTest::ExpectRecordIsNeeded(View& view, void (View::*operation)(_appdata*),
                                      const std::string& name, const std::string& source) {
    FakeLog::Clear();
    ToolkitCalls::Start();
    (view.*operation)(nullptr);
    EXPECT_THAT(ToolkitCalls::Take({}), testing::IsEmpty());
    EXPECT_THAT(FakeLog::Lines(),
                testing::ElementsAre(ErrorLine("there is no appdata", source, name)));
}

template <typename View>
void ScreenTest::ExpectNothingToDestroy(View& view) {
    ToolkitCalls::Start();
    view.Destroy(&ad);
    EXPECT_THAT(ToolkitCalls::Take({}), testing::IsEmpty());
}

template <typename View>
void ScreenTest::ExpectPlaced(View& view, int location, const Cell& cell, const Placing& placing) {
    FakeLog::Clear();
    Evas_Object* obj = MakeObject();
    view.m_Show(&ad, obj, static_cast<app_table_location_e>(location));
    EXPECT_EQ(PlacingOf(obj), placing);
    EXPECT_TRUE(IsVisible(obj));
    EXPECT_EQ(Screen::CellOf(obj), cell);
    EXPECT_THAT(FakeLog::Lines(), testing::IsEmpty());
}

template <typename View>
void ScreenTest::ExpectShownButNotPlaced(View& view, const std::vector<int>& locations,
                                         const std::string& source) {
    for (const int location : locations) {
        FakeLog::Clear();
        Evas_Object* obj = MakeObject();
        view.m_Show(&ad, obj, static_cast<app_table_location_e>(location));
        ExpectNowhere(obj, location, source);
    }
}

// The registration of a handler, as ToolkitCalls writes it down under the name.
template <typename Handler>
std::pair<const void* const, std::string> Named(Handler handler, const std::string& name) {
    return {reinterpret_cast<const void*>(handler), name};
}

// An item that the rules accept: its pair (0x52, 0x14) is not block-listed.
ResultItem AnalysableItem(const std::string& name);
ResultItem ItemOfType(const std::string& type, const std::string& name);

#endif  // QUORVEL_TESTS_SCREEN_TEST_H_
