// Tests the photos and the serial number in a log copy.

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "log_copy/log_sources.h"
#include "paths.h"
#include "photos.h"
#include "platform/fakes/FaultyFileIo.h"
#include "platform/fixtures/CopyFixture.h"

namespace fs = std::filesystem;
using quorvel::desktop::FindPhoto;
using quorvel::desktop::kMaxPhotoBytes;
using quorvel::desktop::LogCopyName;
using quorvel::desktop::OpenPhoto;
using quorvel::desktop::OutsideLinks;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

const std::string kPicture = "\xFF\xD8\xFF picture";

class LogCopyPhotosTest : public CopyFixture {
protected:
    // Writes a result file with the photos as "image" items.
    void WriteRun(const std::vector<std::string>& photos, const std::string& serialNumber = "") {
        std::string& content = m_Sources["qelXml.xml"];
        content = "<r><Information><sn>" + serialNumber + "</sn></Information><RNSCImage>";
        for (const std::string& photo : photos) {
            content += "<test><type>image</type><detailed>" + photo + "</detailed></test>";
        }
        content += "</RNSCImage></r>";
        Write(m_Data / "qelXml.xml", content);
    }
    // Adds a photo to the data folder, and its file name to the expected files of the copy.
    void AddPhoto(const std::string& place, const std::string& fileName,
                  const std::string& bytes = kPicture) {
        Write(m_Data / place, bytes);
        m_Sources[fileName] = bytes;
    }
    void ExpectCopy() {
        EXPECT_EQ(Run(), 0);
        EXPECT_EQ(OnStorage(), After());
    }
    void ExpectLeftOut(const std::string& reason) {
        EXPECT_THAT(m_Errors, ElementsAre(AllOf(StartsWith("log copy: a photo is left out: "),
                                                HasSubstr(reason))));
        EXPECT_THAT(m_Infos, SizeIs(1));
    }

    std::string OutsidePath(const std::string& name) const { return m_Scratch.Path() / name; }

    // Returns the name of a photo in the data folder of a set.
    static std::string InDataFolder(const std::string& place) {
        return quorvel::desktop::DataFolder() + "/" + place;
    }
};

TEST_F(LogCopyPhotosTest, CopiesExistingPhotos) {
    WriteRun({InDataFolder("capture/1.jpg"), InDataFolder("capture/2.jpg"), "/mnt/3.jpg"});
    AddPhoto("capture/1.jpg", "1.jpg", "one");
    AddPhoto("3.jpg", "3.jpg", "three");
    Write(m_Data / "capture/other.jpg", "not named");
    ExpectCopy();
    EXPECT_THAT(m_Errors, IsEmpty());
}

TEST_F(LogCopyPhotosTest, KeepsPhotosWithEqualBaseNamesDistinct) {
    const std::vector<std::string> names = {"/mnt/a/1.jpg", "/mnt/b/1.jpg", "/mnt/c/1.jpg"};
    WriteRun(names);
    AddPhoto("mnt/a/1.jpg", "a+1.jpg", "a");
    AddPhoto("b/1.jpg", "b+1.jpg", "b");
    ExpectCopy();
    const std::string copy = m_Storage / m_CopyName;
    EXPECT_EQ(FindPhoto(copy, names[0]), copy + "/a+1.jpg");
    EXPECT_EQ(FindPhoto(copy, names[1]), copy + "/b+1.jpg");
    EXPECT_EQ(FindPhoto(copy, names[2]), "");
}

TEST_F(LogCopyPhotosTest, KeepsLogsAndResultFilesWithNamesOfPhotos) {
    WriteRun({"/mnt/quorvel.log", "/mnt/QELXML.XML", "/mnt/qelXml.xml"});
    AddPhoto("quorvel.log", "mnt+quorvel.log", "photo");
    AddPhoto("QELXML.XML", "mnt+QELXML.XML", "photo");
    ExpectCopy();
}

TEST_F(LogCopyPhotosTest, ReplacesCharactersThatFatRejects) {
    WriteRun({"/mnt/09:40?.jpg"});
    AddPhoto("09:40?.jpg", "09_40_.jpg");
    ExpectCopy();
    const std::string copy = m_Storage / m_CopyName;
    EXPECT_EQ(FindPhoto(copy, "/mnt/09:40?.jpg"), copy + "/09_40_.jpg");
}

TEST_F(LogCopyPhotosTest, CopiesPictureOutsideDataFolder) {
    WriteRun({OutsidePath("1.jpg")});
    for (const std::string& picture :
         {kPicture, std::string("\x89PNG\r\n\x1A\n"), std::string("GIF89a"),
          std::string("II*\0", 4), std::string("MM\0*", 4), std::string("RIFF1234WEBP")}) {
        for (const OutsideLinks links : {OutsideLinks::kFollow, OutsideLinks::kReject}) {
            m_Job.from.outsideLinks = links;
            Write(OutsidePath("1.jpg"), picture);
            m_Sources["1.jpg"] = picture;
            ResetStorage();
            ExpectCopy();
        }
    }
}

TEST_F(LogCopyPhotosTest, OmitsPhotoWithoutFreeFileName) {
    WriteRun({"/mnt/1.jpg", "/1.jpg"});
    AddPhoto("mnt/1.jpg", "mnt+1.jpg");
    Write(m_Data / "1.jpg", kPicture);
    ExpectCopy();
    ExpectLeftOut("no unused file name for the photo (/1.jpg)");
}

TEST_F(LogCopyPhotosTest, OmitsOtherFilesOutsideDataFolder) {
    const std::vector<std::string> contents = {"root:*:1:", "", "\xFF\xD8", "RIFF1234WAVE"};
    for (const std::string& content : contents) {
        WriteRun({OutsidePath("secret")});
        Write(OutsidePath("secret"), content);
        ResetStorage();
        ExpectCopy();
        ExpectLeftOut("not a picture (" + OutsidePath("secret"));
    }
    WriteRun({m_Data.string() + "/../secret"});
    ResetStorage();
    ExpectCopy();
    ExpectLeftOut("not a picture");
}

TEST_F(LogCopyPhotosTest, FollowsNoLinkOutOfDataFolderAsRoot) {
    m_Job.from.outsideLinks = OutsideLinks::kReject;
    Write(OutsidePath("secret/1.jpg"), kPicture);
    fs::create_symlink(OutsidePath("secret/1.jpg"), m_Data / "1.jpg");
    fs::create_symlink(OutsidePath("secret"), m_Data / "capture");
    fs::create_symlink(OutsidePath("secret"), OutsidePath("link"));
    for (const std::string& name : {m_Data.string() + "/1.jpg", m_Data.string() + "/capture/1.jpg",
                                    OutsidePath("link/1.jpg")}) {
        WriteRun({name});
        ResetStorage();
        ExpectCopy();
        ExpectLeftOut("root does not copy a link to a file outside its folder (" + name);
    }
}

TEST_F(LogCopyPhotosTest, IgnoresPhotosThatAreNotFiles) {
    ASSERT_EQ(mkfifo((m_Data / "pipe.jpg").c_str(), 0600), 0);
    ASSERT_EQ(mknod(OutsidePath("socket.jpg").c_str(), S_IFSOCK | 0600, 0), 0);
    fs::create_directory(m_Data / "folder.jpg");
    fs::create_symlink("loop.jpg", m_Data / "loop.jpg");
    WriteRun({m_Data.string() + "/pipe.jpg", m_Data.string() + "/folder.jpg",
              m_Data.string() + "/loop.jpg", OutsidePath("socket.jpg"), "/dev/null", "1.jpg",
              "http://a/1.jpg", "/", "/" + std::string(5000, 'a')});
    ExpectCopy();
    EXPECT_THAT(m_Errors, IsEmpty());
}

TEST_F(LogCopyPhotosTest, AcceptsLargestPhoto) {
    Write(m_Data / "1.jpg", kPicture);
    fs::resize_file(m_Data / "1.jpg", kMaxPhotoBytes);
    EXPECT_TRUE(OpenPhoto(m_Job.from, "/mnt/1.jpg", "1.jpg").has_value());
}

TEST_F(LogCopyPhotosTest, ReplacesControlCharactersInReason) {
    WriteRun({"/mnt/a\nb.jpg"});
    Write(m_Data / "a\nb.jpg", kPicture);
    fs::resize_file(m_Data / "a\nb.jpg", kMaxPhotoBytes + 1);
    ExpectCopy();
    ExpectLeftOut("/a?b.jpg: File too large");
}

TEST_F(LogCopyPhotosTest, OmitsTooLargePhoto) {
    WriteRun({"/mnt/1.jpg"});
    Write(m_Data / "1.jpg", kPicture);
    fs::resize_file(m_Data / "1.jpg", kMaxPhotoBytes + 1);
    ExpectCopy();
    ExpectLeftOut("File too large");
}

// The test makes each call on the photo fail, except the last call, which closes the photo.
TEST_F(LogCopyPhotosTest, OmitsUnreadablePhoto) {
    const std::string photo = OutsidePath("1.jpg");
    m_Job.from.outsideLinks = OutsideLinks::kReject;
    WriteRun({photo, "/mnt/2.jpg"});
    Write(photo, kPicture);
    AddPhoto("2.jpg", "2.jpg");
    FaultyFileIo good(m_Storage);
    ASSERT_EQ(Run(good), 0);
    std::vector<std::size_t> calls;
    for (std::size_t at = 0; at < good.Performed().size(); ++at) {
        if (good.Performed()[at].path == photo) {
            calls.push_back(at);
        }
    }
    calls.pop_back();
    EXPECT_THAT(calls, SizeIs(6));
    for (const std::size_t at : calls) {
        SCOPED_TRACE(testing::Message() << good.Performed()[at]);
        FaultyFileIo io(m_Storage);
        io.FailOnce(at, EACCES);
        ResetStorage();
        EXPECT_EQ(Run(io), 0);
        EXPECT_EQ(OnStorage(), After());
        ExpectLeftOut("1.jpg: Permission denied");
    }
}

// The copy must not contain a part of the unreadable photo.
TEST_F(LogCopyPhotosTest, OmitsPhotoThatFailsDuringRead) {
    WriteRun({"/mnt/1.jpg", "/mnt/2.jpg"});
    Write(m_Data / "1.jpg", std::string(300'000, 'x'));
    AddPhoto("2.jpg", "2.jpg");
    for (const int failing : {0, 1}) {
        FaultyFileIo io(m_Storage);
        int reads = 0;
        io.SetHook([&](std::size_t index) {
            const PerformedCall& now = io.Performed()[index];
            if (now.call == FileCall::kRead && now.path == m_Data / "1.jpg" && reads++ == failing) {
                io.FailOnce(index, EIO);
            }
        });
        ResetStorage();
        EXPECT_EQ(Run(io), 0);
        EXPECT_EQ(OnStorage(), After());
        EXPECT_EQ(io.OpenDescriptors(), 0);
        ExpectLeftOut("1.jpg: Input/output error");
    }
}

TEST_F(LogCopyPhotosTest, OmitsPhotoWhoseNameStorageRejects) {
    WriteRun({"/mnt/1.jpg"});
    Write(m_Data / "1.jpg", kPicture);
    for (const int error : {EINVAL, EILSEQ, ENAMETOOLONG, EEXIST}) {
        FaultyFileIo io(m_Storage);
        io.SetHook([&](std::size_t index) {
            const PerformedCall& now = io.Performed()[index];
            if (now.call == FileCall::kCreate && fs::path(now.path).filename() == "1.jpg") {
                io.FailOnce(index, error);
            }
        });
        ResetStorage();
        EXPECT_EQ(Run(io), 0);
        EXPECT_EQ(OnStorage(), After());
        ExpectLeftOut("cannot write to the USB storage (1.jpg: " +
                      std::generic_category().message(error));
    }
}

TEST_F(LogCopyPhotosTest, FailsWhenStorageIsFull) {
    WriteRun({"/mnt/1.jpg"});
    Write(m_Data / "1.jpg", kPicture);
    FaultyFileIo io(m_Storage);
    io.SetHook([&](std::size_t index) {
        const PerformedCall& now = io.Performed()[index];
        if (now.call == FileCall::kWrite && fs::path(now.path).filename() == "1.jpg") {
            io.FailOnce(index, ENOSPC);
        }
    });
    EXPECT_EQ(Run(io), -1);
    EXPECT_EQ(OnStorage(), Before());
    EXPECT_THAT(m_Errors, ElementsAre(StartsWith("log copy: the USB storage is full (1.jpg")));
}

TEST_F(LogCopyPhotosTest, KeepsFewDescriptorsOpen) {
    std::vector<std::string> names;
    for (int i = 0; i < 100; ++i) {
        const std::string name = std::to_string(i) + ".jpg";
        names.push_back("/mnt/" + name);
        AddPhoto(name, name);
    }
    WriteRun(names);
    FaultyFileIo io(m_Storage);
    int most = 0;
    io.SetHook([&](std::size_t) { most = std::max(most, io.OpenDescriptors()); });
    EXPECT_EQ(Run(io), 0);
    EXPECT_EQ(OnStorage(), After());
    EXPECT_LT(most, 15);
}

TEST_F(LogCopyPhotosTest, NamesFolderBySerialNumber) {
    WriteRun({}, " 0AX4 3NGM/900123 ");
    EXPECT_EQ(Run(), 0);
    const std::string name = LogCopyName("line-7", m_Job.time, "0AX4 3NGM/900123");
    EXPECT_EQ(OnStorage(), After(name));
    EXPECT_THAT(name, StartsWith("quorvel-line-7-0AX4_3NGM_900123-19700"));
}

TEST_F(LogCopyPhotosTest, LimitsSerialNumberInName) {
    const std::string plain = LogCopyName("h", 0);
    for (const std::string number : {"", " ", "\n", "../..", "\xE5\x80\x8B", "-"}) {
        EXPECT_EQ(LogCopyName("h", 0, number), plain);
    }
    EXPECT_THAT(LogCopyName("h", 0, "../a"), StartsWith("quorvel-h-.._a-"));
    EXPECT_LT(LogCopyName(std::string(5000, 'h'), 0, std::string(5000, 's')).size(), 130U);
}

}  // namespace
