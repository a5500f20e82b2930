// The page of limits tells the truth.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "support/sourcedir.h"
#include "tessaly/zrchainservices.h"
#include "tessaly/zrdriverservices.h"
#include "tessaly/zrservices.h"

namespace {

// The second cell of each row of the page's tables, by the first.
std::map<std::string, std::string> Rows() {
  std::ifstream file(RepositoryPath("docs/wire/limits.md"));
  std::map<std::string, std::string> rows;
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with("| ")) continue;
    std::istringstream cells(line.substr(2));
    std::string name;
    std::string number;
    std::getline(cells, name, '|');
    std::getline(cells, number, '|');
    rows[name.substr(0, name.size() - 1)] = number;
  }
  return rows;
}

class Limits : public testing::Test {
 protected:
  // Each row is asked for once.
  std::uint64_t Number(const std::string& name) {
    const auto found = rows.find(name);
    if (found == rows.end()) return 0;
    const std::uint64_t number = std::stoull(found->second);
    rows.erase(found);
    return number;
  }

  std::map<std::string, std::string> rows = Rows();
  const ZRWebServerSettings inForce{};
};

TEST_F(Limits, AreThoseOfTheirPage) {
  EXPECT_EQ(inForce.connections, Number("Connections at once"));
  EXPECT_EQ(inForce.connectionsPerAddress, Number("Connections at once of one client address"));
  EXPECT_EQ(inForce.threads, Number("Threads that serve them"));
  EXPECT_EQ(
      inForce.waitingThreads,
      Number("Threads of services that may wait: the history, acknowledgements, other engines"));
  EXPECT_EQ(inForce.idleSeconds, Number("Silence of a connection between two requests, s"));
  EXPECT_EQ(inForce.pace.headMilliseconds,
            1000 * Number("Head of a request, from the accept or its first byte to its end, s"));
  EXPECT_EQ(
      inForce.pace.graceMilliseconds,
      1000 * Number("Time that a body, or the taking of an answer, may fall behind its speed, s"));
  EXPECT_EQ(inForce.pace.bytesPerSecond, Number("That speed, bytes in a second"));
  EXPECT_EQ(inForce.stopMilliseconds,
            Number("Patience of a stop with clients that still take answers, ms"));
  EXPECT_EQ(inForce.headerBytes, Number("Head of a request"));
  EXPECT_EQ(inForce.bodyBytes, Number("Bodies that are coming, of all clients together"));
  EXPECT_EQ(inForce.memoryBytes, Number("Answer that is kept in memory"));
  EXPECT_EQ(inForce.answerBytes, Number("Answer"));
  EXPECT_EQ(kMostAckBytes, Number("`/services/events/ack.xml`"));
  EXPECT_EQ(kMostForceBytes, Number("`/services/drivers/force.xml`"));
  EXPECT_EQ(kMostListenerBytes, Number("`/services/events/listener.xml`"));
  EXPECT_EQ(kMostProducerBytes, Number("`/services/events/producer.xml`"));
  EXPECT_EQ(kMostProducerBytes, Number("`/services/user/producer.xml`"));
  const tagChainLimits chain;
  EXPECT_EQ(chain.bytes, Number("Documents of other engines that are read at once, together"));
  EXPECT_EQ(chain.elements, Number("Remote elements known, active and notified ones together"));
  EXPECT_EQ(static_cast<std::uint64_t>(chain.waiting),
            Number("Changes of them that wait for listeners"));
  for (const char* head : {"Limit", "Path", "What other engines tell", "---"})
    rows.erase(head);
  for (const auto& [name, number] : rows)
    ADD_FAILURE() << "nobody asks for " << name;
}

}  // namespace
