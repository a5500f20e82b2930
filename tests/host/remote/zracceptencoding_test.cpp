#include "host/remote/zracceptencoding.h"

#include <gtest/gtest.h>

namespace {

constexpr ZRContentCoding kIdentity = ZRContentCoding::kIdentity;
constexpr ZRContentCoding kGzip = ZRContentCoding::kGzip;
constexpr ZRContentCoding kDeflate = ZRContentCoding::kDeflate;

struct tagCase {
  const char* content;
  ZRContentCoding expected;
};

void ExpectAll(const std::initializer_list<tagCase>& cases) {
  for (const tagCase& one : cases)
    EXPECT_EQ(one.expected, ChooseContentCoding(one.content)) << '"' << one.content << '"';
}

TEST(AcceptEncoding, TakesACodingThatIsNamed) {
  ExpectAll({{"", kIdentity},
             {"gzip", kGzip},
             {"deflate", kDeflate},
             {"br", kIdentity},
             {"identity", kIdentity},
             {"x-gzip", kGzip},
             {"GZip", kGzip},
             {"gzippy", kIdentity},
             {"gzi", kIdentity},
             {"br, zstd ,\tdeflate", kDeflate}});
}

TEST(AcceptEncoding, PrefersTheHigherWeightAndGzipAmongEquals) {
  ExpectAll({{"deflate, gzip", kGzip},
             {"deflate;q=0.5, gzip;q=0.5", kGzip},
             {"gzip;q=0.5, deflate", kDeflate},
             {"gzip;q=0.500, deflate;q=0.501", kDeflate},
             {"gzip ; Q=1.0 , deflate", kGzip}});
}

TEST(AcceptEncoding, RefusesAWeightOfZero) {
  ExpectAll({{"gzip;q=0", kIdentity},
             {"gzip;q=0.000", kIdentity},
             {"gzip;q=0, deflate", kDeflate},
             {"gzip;q=0, deflate;q=0", kIdentity},
             {"gzip; q=0.001", kGzip}});
}

TEST(AcceptEncoding, StarStandsForWhatIsNotNamed) {
  ExpectAll({{"*", kGzip},
             {"*;q=0", kIdentity},
             {"gzip;q=0, *", kDeflate},
             {"*;q=0, deflate", kDeflate},
             {"gzip;q=0.1, *;q=0.2", kDeflate},
             {"identity, *;q=0", kIdentity}});
}

TEST(AcceptEncoding, FirstMentionCounts) {
  ExpectAll({{"gzip;q=0, gzip", kIdentity}, {"gzip, gzip;q=0", kGzip}});
}

TEST(AcceptEncoding, PassesOverWhatCannotBeRead) {
  ExpectAll({{"gzip;q=", kIdentity},
             {"gzip;q=2", kIdentity},
             {"gzip;q=1.001", kIdentity},
             {"gzip;q=-1", kIdentity},
             {"gzip;q=0.1234", kIdentity},
             {"gzip;q=0,5", kIdentity},
             {"gzip;q=1;q=x", kIdentity},
             {"gzip;q=x;q=1", kIdentity},
             {"gzip;level=9;q=0.5", kGzip},
             {"gzip;;q=0.5", kGzip},
             {",,;,;q=1,=,q=1", kIdentity},
             {"gzip;q=x, deflate", kDeflate},
             {"gzip;q=x, *", kGzip}});
}

TEST(AcceptEncoding, NamesTheCodings) {
  EXPECT_STREQ("gzip", ContentCodingName(kGzip));
  EXPECT_STREQ("deflate", ContentCodingName(kDeflate));
  EXPECT_EQ(nullptr, ContentCodingName(kIdentity));
}

}  // namespace
