#include "fakes/StoreTest.h"

#include <libxml/xmlerror.h>

#include "fakes/Singletons.h"
#include "fakes/XmlSpy.h"

namespace {

void StartAfresh() {
    singletons::ResetStores();
    PrivateData::Clean();
    xmlResetLastError();
    XmlSpy::Clear();
    FakeLog::Clear();
}

}  // namespace

void StoreTest::SetUp() {
    StartAfresh();
}

void StoreTest::TearDown() {
    StartAfresh();
}

QELXmlParser& StoreTest::Store() {
    return *QELXmlParser::GetInstance();
}

QELXmlParser& StoreTest::Load(const std::string& mainFile) {
    singletons::ResetStores();
    PrivateData::WriteMain(mainFile);
    EXPECT_TRUE(Store().ParseFile());
    FakeLog::Clear();
    return Store();
}

QELXmlParser& StoreTest::LoadItems(const std::vector<xml::Fields>& items) {
    return Load(xml::DocumentOf(items));
}
