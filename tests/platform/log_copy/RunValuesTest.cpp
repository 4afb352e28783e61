#include "log_copy/run_values.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "paths.h"
#include "photos.h"
#include "platform/fakes/FaultyFileIo.h"
#include "platform/fixtures/CopyFixture.h"
#include "xml_input.h"

namespace {

using quorvel::desktop::kMaxPhotos;
using quorvel::desktop::kMaxResultFileBytes;
using quorvel::desktop::LogSource;
using quorvel::desktop::OpenLogSources;
using quorvel::desktop::ReadRunValues;
using quorvel::desktop::RunValues;
using quorvel::desktop::SourceError;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::string TestElement(const std::string& fields) {
    return "<test>" + fields + "</test>";
}

class RunValuesTest : public CopyFixture {
protected:
    void WriteFiles(const std::string& main, const std::string& rnsc) {
        Write(m_Data / "qelXml.xml", main);
        Write(m_Data / "qelRnscXml.xml", rnsc);
    }
    std::vector<LogSource> Open() const { return OpenLogSources(m_Job.from); }
    RunValues ReadValues() { return ReadRunValues(Open()); }
    std::vector<std::string> PhotosOf(const std::string& items) {
        WriteFiles("<r><FAnetTest>" + items + "</FAnetTest></r>", "<r/>");
        return ReadValues().photos;
    }
};

TEST_F(RunValuesTest, PrefersSerialNumberOfMainFile) {
    const std::string main = "<r><Information><sn>main</sn></Information></r>";
    const std::string rnsc = "<r><Information><sn>rnsc</sn></Information></r>";
    WriteFiles(main, rnsc);
    EXPECT_EQ(ReadValues().serialNumber, "main");
    WriteFiles("<r><Information><sn/></Information></r>", rnsc);
    EXPECT_EQ(ReadValues().serialNumber, "rnsc");
    WriteFiles("<r/>", "<r/>");
    EXPECT_EQ(ReadValues().serialNumber, "");
}

TEST_F(RunValuesTest, ReturnsPhotosOfAllLists) {
    const auto list = [](const std::string& name) {
        return "<" + name + ">" +
               TestElement("<type>image</type><detailed>/" + name + "</detailed>") + "</" + name +
               ">";
    };
    WriteFiles("<r>" + list("FAnetTest") + list("Other") + "</r>",
               "<r>" + list("RNSCTest") + list("RNSCImage") + "</r>");
    EXPECT_THAT(ReadValues().photos, ElementsAre("/RNSCImage", "/RNSCTest", "/FAnetTest"));
}

TEST_F(RunValuesTest, RecognisesSameImageItemsAsApplication) {
    EXPECT_THAT(
        PhotosOf(TestElement("<type>imag</type><detailed>/1</detailed>") +
                 TestElement("<type></type><detailed>/2</detailed>") +
                 TestElement("<detailed>/3</detailed>") +
                 TestElement("<type>images</type><detailed>/4</detailed>") +
                 TestElement("<type>image</type><detailed></detailed>") +
                 TestElement("<type>image</type>") +
                 TestElement("<type>image</type><result>pass</result><detailed>/5</detailed>")),
        ElementsAre("/1", "/5"));
}

TEST_F(RunValuesTest, ReturnsEachPhotoOnce) {
    const std::string item = TestElement("<type>image</type><detailed>/1</detailed>");
    EXPECT_THAT(PhotosOf(item + item), ElementsAre("/1"));
}

TEST_F(RunValuesTest, LimitsNumberOfPhotos) {
    std::string items;
    for (std::size_t i = 0; i <= kMaxPhotos; ++i) {
        items += TestElement("<type>image</type><detailed>/" + std::to_string(i) + "</detailed>");
    }
    const std::vector<std::string> photos = PhotosOf(items);
    ASSERT_THAT(photos, SizeIs(kMaxPhotos));
    EXPECT_EQ(photos.back(), "/" + std::to_string(kMaxPhotos - 1));
}

TEST_F(RunValuesTest, IgnoresTooLargeFile) {
    const std::string rnsc = "<r><Information><sn>rnsc</sn></Information></r>";
    WriteFiles("<r><Information><sn>main</sn></Information></r>", rnsc);
    std::filesystem::resize_file(m_Data / "qelXml.xml", kMaxResultFileBytes + 1);
    FaultyFileIo io(m_Storage);
    const FaultyFileIo::Scope scope(io);
    EXPECT_EQ(ReadRunValues(Open()).serialNumber, "rnsc");
    const auto isReadOfMainFile = [this](const PerformedCall& performed) {
        return performed.call == FileCall::kRead && performed.path == m_Data / "qelXml.xml";
    };
    EXPECT_EQ(std::count_if(io.Performed().begin(), io.Performed().end(), isReadOfMainFile), 0);
}

TEST_F(RunValuesTest, ReplacesEntities) {
    WriteFiles("<!DOCTYPE r [<!ENTITY e 'x'>]><r><Information><sn>a&e;&amp;</sn></Information></r>",
               "<r/>");
    EXPECT_EQ(ReadValues().serialNumber, "ax&");
}

TEST_F(RunValuesTest, LoadsNoOtherFile) {
    Write(m_Data / "other", "secret");
    WriteFiles("<!DOCTYPE r [<!ENTITY e SYSTEM '" + (m_Data / "other").string() +
                   "'>]><r><Information><sn>a&e;</sn></Information></r>",
               "<r/>");
    EXPECT_EQ(ReadValues().serialNumber, "a");
}

TEST_F(RunValuesTest, LimitsEntities) {
    std::string value;
    for (int i = 0; i < 2000; ++i) {
        value += "&e;";
    }
    WriteFiles("<!DOCTYPE r [<!ENTITY e '" + std::string(100'000, 'x') +
                   "'>]><r><Information><sn>" + value + "</sn></Information></r>",
               "<r/>");
    EXPECT_EQ(ReadValues().serialNumber, "");
}

TEST_F(RunValuesTest, IgnoresDamagedFile) {
    WriteFiles("<r><Information><sn>main</sn></Information>",
               "<r><Information><sn>rnsc</sn></Information></r>");
    EXPECT_EQ(ReadValues().serialNumber, "rnsc");
    WriteFiles("", "text");
    EXPECT_EQ(ReadValues().serialNumber, "");
    EXPECT_THAT(ReadValues().photos, IsEmpty());
}

TEST_F(RunValuesTest, ReportsFileThatCannotBeRead) {
    WriteFiles("<r/>", "<r/>");
    FaultyFileIo io(m_Storage);
    const FaultyFileIo::Scope scope(io);
    const std::vector<LogSource> sources = Open();
    io.SetHook([&](std::size_t index) {
        if (io.Performed()[index].call == FileCall::kRead) {
            io.FailOnce(index, EIO);
        }
    });
    EXPECT_THROW(ReadRunValues(sources), SourceError);
}

}  // namespace
