#include "host/eventactions/eventactionsmssendtofolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/faketool.h"
#include "support/logcapture.h"
#include "support/sitefolder.h"

namespace {

namespace fs = std::filesystem;

// A folder to send to, at a known time.
class SmsFolder : public ::testing::Test {
 protected:
  SmsFolder() : sender(Wide((site.path / "sms").string() + "/")) {
    fs::create_directory(Folder());
    fs::permissions(Folder(), fs::perms::owner_all);
  }
  [[nodiscard]] fs::path Folder() const { return site.path / "sms"; }
  [[nodiscard]] std::vector<fs::path> Files() const {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(Folder()))
      files.push_back(entry.path());
    return files;
  }

  static constexpr std::int64_t kUtc = 1'795'255'205'123;  // 2026-11-21T10:00:05.123Z
  ZRVirtualTime time{kUtc};
  SiteFolder site;
  LogCapture log;
  EventActionSmsSendToFolder sender;
};

TEST_F(SmsFolder, HoldsAPrivateFileForEachSms) {
  EXPECT_TRUE(sender.sendSingleSms("+34600123456", "caf\xc3\xa9\n$(id)"));
  ASSERT_EQ(1u, Files().size());
  const fs::path file = Files()[0];
  EXPECT_EQ("To: +34600123456\nDate: 2026-11-21T10:00:05.123Z\n\ncaf\xc3\xa9 $(id)\n",
            FileText(file));
  const std::string name = file.filename().string();
  EXPECT_TRUE(name.starts_with("20261121T100005.123Z-")) << name;
  EXPECT_TRUE(name.ends_with(".txt")) << name;
  struct stat found {};
  ASSERT_EQ(0, ::stat(file.c_str(), &found));
  EXPECT_EQ(0600u, found.st_mode & 0777u);
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(SmsFolder, HoldsEachOfTheSameInstant) {
  for (int count = 0; count < 20; ++count)
    EXPECT_TRUE(sender.sendSingleSms("112", "same"));
  EXPECT_EQ(20u, Files().size());
}

TEST_F(SmsFolder, IsNotForOthersToRead) {
  fs::permissions(Folder(), fs::perms::group_read, fs::perm_options::add);
  EXPECT_FALSE(sender.sendSingleSms("112", "text"));
  EXPECT_TRUE(Files().empty());
  EXPECT_TRUE(log.Has(kLogDelivery, "SMS: no file can be made in '" + Folder().string() +
                                        "/', which has to be this user's alone"));
}

TEST_F(SmsFolder, ThatIsMissingIsAFailure) {
  fs::remove(Folder());
  EXPECT_FALSE(sender.sendSingleSms("112", "text"));
}

TEST_F(SmsFolder, TakesNumbersOnly) {
  EXPECT_FALSE(sender.sendSingleSms("../x", "text"));
  EXPECT_FALSE(sender.sendSingleSms("", "text"));
  EXPECT_TRUE(Files().empty());
  EXPECT_TRUE(log.Has(kLogDelivery, "SMS: '../x' is no telephone number"));
}

}  // namespace
