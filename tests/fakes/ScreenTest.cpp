#include "ScreenTest.h"

#include "FakeApp.h"
#include "FakeServices.h"
#include "PrivateData.h"
#include "QELApp.h"
#include "QELButtonLogCapture.h"
#include "QELItemDetailView.h"
#include "QELPopupLoading.h"
#include "QELWindow.h"
#include "Singletons.h"

namespace {

const char* const FLAG_FILE = "/tmp/qel_first_execute";

bool IsWorkerDone() {
    return !QELPopupLoading::m_IsRunning && !FakeServices::IsCopying();
}

void ResetApplication() {
    singletons::ResetStores();
    singletons::ResetPopup();
    delete QELApp::m_QelWindow;
    QELApp::m_QelWindow = nullptr;
    QELButtonLogCapture::doCaptureLog = false;
    QELItemDetailView::m_bgItemDetailView = nullptr;
}

}  // namespace

void ScreenTest::SetUp() {
    Screen::Start();
    Screen::TakeComplaints();
    PrivateData::Clean();
    FakeApp::Clear();
    FakeServices::Clear();
    ToolkitCalls::Start();
    ResetApplication();
    FakeLog::Clear();
}

void ScreenTest::TearDown() {
    ToolkitCalls::FailRegistration(0);
    ToolkitCalls::Take({});
    FakeServices::OpenGate();
    EXPECT_TRUE(Screen::PumpUntil(IsWorkerDone)) << "a worker is still at work";
    EXPECT_THAT(ToolkitCalls::TakeForeignCalls(), testing::IsEmpty())
        << "a worker touched the toolkit";
    EXPECT_THAT(Screen::TakeComplaints(),
                testing::Not(testing::Contains(testing::HasSubstr("another thread"))));
    if (QELPopupLoading::m_Timer != nullptr) {
        ecore_timer_del(QELPopupLoading::m_Timer);
    }
    QELApp::s_Terminate(&ad);
    evas_object_del(ad.win);
    ResetApplication();
    remove(FLAG_FILE);
}

void ScreenTest::OpenWindow() {
    elm_app_base_scale_set(2.0);
    ad.win = elm_win_util_standard_add("quorvel", "quorvel");
    evas_object_show(ad.win);
    ad.table = elm_table_add(ad.win);
    elm_table_homogeneous_set(ad.table, EINA_TRUE);
    elm_table_padding_set(ad.table, 2, 2);
    evas_object_size_hint_weight_set(ad.table, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
    elm_win_resize_object_add(ad.win, ad.table);
    evas_object_show(ad.table);
}

void ScreenTest::AddFailed(const ResultItem& item) {
    QELXmlParser::GetInstance()->m_resultFailData.push_back(item);
    QELXmlParser::GetInstance()->m_resultAllData.push_back(item);
}

void ScreenTest::AddPassed(const ResultItem& item) {
    QELXmlParser::GetInstance()->m_resultAllData.push_back(item);
}

Elm_Object_Item* ScreenTest::Row(unsigned int index) const {
    return elm_genlist_nth_item_get(ad.itemList, index);
}

void ScreenTest::FocusRow(unsigned int index) {
    elm_object_item_focus_set(Row(index), EINA_TRUE);
    Screen::Settle(ad.win);
}

std::string ScreenTest::TextOf(const Evas_Object* obj) {
    const char* text = elm_object_text_get(obj);
    return text == nullptr ? "" : text;
}

bool ScreenTest::IsVisible(const Evas_Object* obj) {
    return evas_object_visible_get(obj) != 0;
}

ScreenTest::Placing ScreenTest::PlacingOf(const Evas_Object* obj) {
    Placing placing{};
    evas_object_size_hint_weight_get(obj, &placing[0], &placing[1]);
    evas_object_size_hint_align_get(obj, &placing[2], &placing[3]);
    return placing;
}

Evas_Object* ScreenTest::MakeObject() {
    return evas_object_rectangle_add(evas_object_evas_get(ad.win));
}

void ScreenTest::ExpectNowhere(const Evas_Object* obj, int location, const std::string& source) {
    EXPECT_TRUE(IsVisible(obj)) << location;
    EXPECT_FALSE(Screen::IsPacked(ad.table, const_cast<Evas_Object*>(obj))) << location;
    EXPECT_THAT(FakeLog::Lines(),
                testing::ElementsAre(
                    ErrorLine("there is no information about table location", source, "m_Show")))
        << location;
}

ToolkitCalls::Names ScreenTest::Names() const {
    return {
        {ad.win, "win"},
        {ad.table, "table"},
        {ad.titleLabel, "titleLabel"},
        {ad.itemList, "itemList"},
        {ad.itemLabel, "itemLabel"},
        {ad.itemImage, "itemImage"},
        {ad.detailLabel, "detailLabel"},
        {ad.infoLabelLeft, "infoLabelLeft"},
        {ad.infoLabelRight, "infoLabelRight"},
        {ad.logCaptureButton, "logCaptureButton"},
        {evas_object_evas_get(ad.win), "canvas"},
        {&ad, "ad"},
    };
}

ResultItem AnalysableItem(const std::string& name) {
    return {
        {"type", "app"},    {"name", name},      {"opcode", "52"},  {"msgcode", "14"},
        {"result", "fail"}, {"duration", "500"}, {"threadID", "1"}, {"timeAckAbsolute", "1000"}};
}

ResultItem ItemOfType(const std::string& type, const std::string& name) {
    return {{"type", type}, {"name", name}, {"result", "fail"}};
}
