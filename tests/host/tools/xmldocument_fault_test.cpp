#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "host/platform/zrvirtualtime.h"
#include "host/tools/xmldocument.h"
#include "host/tools/xmltext.h"

namespace {

#if defined(ZR_SANITIZED)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

// A stream over `content` that fails behind its end; a written one fails behind `room` bytes.
struct tagSStream {
  std::string content;
  std::size_t read = 0;
  std::size_t room = 0;
};

ssize_t ReadPart(void* cookie, char* bytes, std::size_t size) {
  auto& stream = *static_cast<tagSStream*>(cookie);
  const std::size_t count = std::min(size, stream.content.size() - stream.read);
  if (count == 0) {
    errno = EIO;
    return -1;
  }
  std::memcpy(bytes, stream.content.data() + stream.read, count);
  stream.read += count;
  return static_cast<ssize_t>(count);
}

ssize_t WritePart(void* cookie, const char*, std::size_t size) {
  auto& stream = *static_cast<tagSStream*>(cookie);
  if (size > stream.room) {
    errno = ENOSPC;
    return 0;
  }
  stream.room -= size;
  return static_cast<ssize_t>(size);
}

// Files that fail on demand.
class ZRFaultyFiles : public ZRVirtualTime {
 public:
  std::FILE* OpenFile(const std::string& path, const char* mode) override {
    opened.push_back(path);
    if (faultyStream) {
      if (*mode == 'w') std::ofstream(path, std::ios::binary) << "in part";
      return ::fopencookie(&stream, mode, {&ReadPart, &WritePart, nullptr, nullptr});
    }
    if (opensFail) {
      errno = EACCES;
      return nullptr;
    }
    return ZRPlatform::OpenFile(path, mode);
  }
  bool RenameFile(const std::string& from, const std::string& to) override {
    if (!renamesFail) return ZRPlatform::RenameFile(from, to);
    errno = EXDEV;
    return false;
  }

  bool faultyStream = false;
  bool opensFail = false;
  bool renamesFail = false;
  tagSStream stream;
  std::vector<std::string> opened;
};

class XmlFile : public testing::Test {
 protected:
  XmlFile() {
    std::string pattern = (std::filesystem::temp_directory_path() / "xmlfile-XXXXXX").string();
    folder = ::mkdtemp(pattern.data());
    path = (folder / "document.xml").string();
    widePath = Wide(path);
  }
  ~XmlFile() override {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }

  void Write(const std::string& content) const { std::ofstream(path, std::ios::binary) << content; }
  [[nodiscard]] std::string Content() const {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
  }
  // Files in the folder.
  [[nodiscard]] std::ptrdiff_t Count() const {
    return std::distance(std::filesystem::directory_iterator(folder), {});
  }
  std::string LoadRefusal(std::size_t limit = XmlDocument::kMaximumFileSize) {
    XmlDocument::tagRefusal refusal;
    if (document.Load(widePath.Text(), &refusal, limit)) return "";
    return std::to_string(refusal.line) + ":" + std::to_string(refusal.column) + " " +
           refusal.reason;
  }

  ZRFaultyFiles files;
  std::filesystem::path folder;
  std::string path;
  ZRWString widePath;
  XmlDocument document;
};

constexpr char kHeader[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>";

// --- loading ---

TEST_F(XmlFile, IsLoadedThroughThePlatform) {
  Write("\xEF\xBB\xBF<r>\n<a>1</a></r>\n");
  EXPECT_TRUE(document.Load(widePath.Text()));
  EXPECT_EQ("<r><a>1</a></r>", Code(document));
  EXPECT_EQ(std::vector<std::string>{path}, files.opened);
}

// Elements, texts and characters that lie across the borders of what is read at a time.
TEST_F(XmlFile, ManyChunksAreReadAsOne) {
  std::string text = "<r>\n";
  for (int i = 0; i < 20'000; ++i) {
    text += "<e><name>\xC3\xA9\xF0\x9F\x98\x80 " + std::to_string(i) + " &amp;</name></e>\n";
  }
  Write(text + "</r>");
  ASSERT_GT(text.size(), 10u * 64 * 1024);
  ASSERT_TRUE(document.Load(widePath.Text()));
  int index = 0;
  for (auto child = document.Root()->ChildsBegin(); child != document.Root()->ChildsEnd();
       ++child) {
    ASSERT_EQ("\xC3\xA9\xF0\x9F\x98\x80 " + std::to_string(index) + " &",
              (*child)->ValueUtf8("name"));
    ASSERT_EQ(static_cast<std::uint32_t>(index + 2), (*child)->Line());
    ++index;
  }
  EXPECT_EQ(20'000, index);
}

TEST_F(XmlFile, ThatEndsWithAChunkIsRead) {
  std::string text = "<r></r>";
  text.insert(3, 2 * 64 * 1024 - text.size(), 'x');
  Write(text);
  EXPECT_EQ("", LoadRefusal());
  EXPECT_EQ(text, Code(document));
}

TEST_F(XmlFile, RefusalTellsThePlaceInALaterChunk) {
  std::string text = "<r>\n";
  for (int i = 0; i < 20'000; ++i)
    text += "<element/>\n";
  Write(text + "<a></b></r>");
  EXPECT_EQ("20002:6 mismatched tag", LoadRefusal());
  EXPECT_FALSE(document.IsOK());
}

TEST_F(XmlFile, MissingOneIsRefused) {
  document.Create(L"old");
  EXPECT_EQ("0:0 can't be opened: No such file or directory", LoadRefusal());
  EXPECT_FALSE(document.IsOK());
  EXPECT_FALSE(document.Load(nullptr));
  EXPECT_FALSE(document.Load(L""));
}

TEST_F(XmlFile, ThatMayNotBeOpenedIsRefused) {
  Write("<r/>");
  files.opensFail = true;
  EXPECT_EQ("0:0 can't be opened: Permission denied", LoadRefusal());
}

TEST_F(XmlFile, FolderIsRefused) {
  widePath = Wide(folder.string());
  EXPECT_EQ("0:0 can't be read: Is a directory", LoadRefusal());
}

TEST_F(XmlFile, EmptyOneIsRefused) {
  Write("");
  EXPECT_EQ("1:1 no element found", LoadRefusal());
}

TEST_F(XmlFile, ReadErrorHalfWayIsRefused) {
  files.faultyStream = true;
  files.stream.content = "<r>" + std::string(100'000, 'x');
  EXPECT_EQ("0:0 can't be read: Input/output error", LoadRefusal());
  EXPECT_EQ(files.stream.content.size(), files.stream.read);
  EXPECT_FALSE(document.IsOK());
}

// What was read before the error is a whole document, and isn't taken for one.
TEST_F(XmlFile, ReadErrorBehindTheRootIsRefused) {
  files.faultyStream = true;
  files.stream.content = "<r></r>";
  EXPECT_EQ("0:0 can't be read: Input/output error", LoadRefusal());
}

TEST_F(XmlFile, AboveTheLimitIsRefused) {
  EXPECT_EQ(268'435'456u, XmlDocument::kMaximumFileSize);
  Write("<r>" + std::string(100'000, 'x') + "</r>");
  EXPECT_EQ("", LoadRefusal(100'007));
  EXPECT_EQ("0:0 larger than 100006 bytes", LoadRefusal(100'006));
  EXPECT_EQ("0:0 larger than 10 bytes", LoadRefusal(10));
}

// --- saving ---

TEST_F(XmlFile, SaveWritesToThePathOfTheLastLoad) {
  Write("<r><a>1</a></r>");
  ASSERT_TRUE(document.Load(widePath.Text()));
  document.Root()->SetValue(L"a", L"\u00E9");
  EXPECT_TRUE(document.Save());
  EXPECT_EQ(kHeader + std::string("<r><a>\xC3\xA9</a></r>"), Content());
  EXPECT_EQ(1, Count());
}

TEST_F(XmlFile, SaveKeepsToTheLastOfTwoLoads) {
  Write("<first/>");
  ASSERT_TRUE(document.Load(widePath.Text()));
  const std::string other = path + ".other";
  std::ofstream(other) << "<second/>";
  ASSERT_TRUE(document.Load(Wide(other).Text()));
  document.Create(L"anew");
  EXPECT_TRUE(document.Save());
  EXPECT_EQ("<first/>", Content());
  std::ifstream saved(other);
  EXPECT_EQ(kHeader + std::string("<anew></anew>"),
            std::string(std::istreambuf_iterator<char>(saved), {}));
}

TEST_F(XmlFile, SaveWritesAlsoAfterALoadThatFailed) {
  EXPECT_FALSE(document.Load(widePath.Text()));
  document.Create(L"new");
  EXPECT_TRUE(document.Save());
  EXPECT_EQ(kHeader + std::string("<new></new>"), Content());
  document.Reset();
  ASSERT_TRUE(document.Parse("<parsed/>"));
  EXPECT_TRUE(document.Save());
  EXPECT_EQ(kHeader + std::string("<parsed></parsed>"), Content());
}

TEST_F(XmlFile, SaveWithoutAPathOrARootFails) {
  document.Create(L"r");
  EXPECT_FALSE(document.Save());
  Write("<old/>");
  ASSERT_TRUE(document.Load(widePath.Text()));
  document.Reset();
  EXPECT_FALSE(document.Save());
  EXPECT_EQ("<old/>", Content());
}

class XmlFileThatFails : public XmlFile {
 protected:
  void SetUp() override {
    Write("<old/>");
    ASSERT_TRUE(document.Load(widePath.Text()));
    document.Create(L"new");
  }
  void ExpectOldFileAlone() {
    EXPECT_FALSE(document.Save());
    EXPECT_EQ("<old/>", Content());
    EXPECT_EQ(1, Count());
  }
};

TEST_F(XmlFileThatFails, ToOpenLeavesTheOldOne) {
  files.opensFail = true;
  ExpectOldFileAlone();
}

TEST_F(XmlFileThatFails, ToBeWrittenLeavesTheOldOne) {
  files.faultyStream = true;
  for (int i = 0; i < 50'000; ++i)
    document.Root()->NewChild(L"a", nullptr);
  files.stream.room = 100'000;
  ExpectOldFileAlone();
}

// Short enough to fail only when what is held back is written.
TEST_F(XmlFileThatFails, ToBeClosedLeavesTheOldOne) {
  files.faultyStream = true;
  ExpectOldFileAlone();
}

TEST_F(XmlFileThatFails, ToBeRenamedLeavesTheOldOne) {
  files.renamesFail = true;
  ExpectOldFileAlone();
}

TEST_F(XmlFileThatFails, CanBeSavedLater) {
  files.renamesFail = true;
  EXPECT_FALSE(document.Save());
  files.renamesFail = false;
  EXPECT_TRUE(document.Save());
  EXPECT_EQ(kHeader + std::string("<new></new>"), Content());
}

// --- memory ---

// In a process of its own, which is then short of memory: 7 for the exception expected.
int ParseWithLittleMemory(const std::string& text) {
  XmlDocument document;
  document.Create(L"old");
  const rlimit little{16u << 20, 16u << 20};
  if (::setrlimit(RLIMIT_DATA, &little) != 0) return 1;
  try {
    return document.Parse(text.c_str()) ? 2 : 3;
  } catch (const std::bad_alloc&) {
    if (document.Parse("<r>again</r>")) return document.Root()->TextUtf8() == "again" ? 7 : 4;
  }
  return 5;
}

TEST(XmlMemoryDeathTest, ExhaustionIsAnExceptionAndNothingIsLost) {
  if (kIsSanitized) GTEST_SKIP() << "sanitizers have their own memory";
  std::string text = "<r>";
  for (int i = 0; i < 1'000'000; ++i)
    text += "<a/>";
  text += "</r>";
  EXPECT_EXIT(std::_Exit(ParseWithLittleMemory(text)), testing::ExitedWithCode(7), "");
}

}  // namespace
