// The examples of docs/expressions.md, read from that very page.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "host/driversupport/sitevalues.h"
#include "host/platform/zrvirtualtime.h"
#include "support/sourcedir.h"

namespace {

using tagRow = std::vector<std::string>;

std::string Trim(const std::string& cell) {
  const std::size_t first = cell.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return cell.substr(first, cell.find_last_not_of(' ') - first + 1);
}

// A cell without the back quotes around it.
std::string Plain(const std::string& cell) {
  const std::string trimmed = Trim(cell);
  const bool isQuoted = trimmed.size() >= 2 && trimmed.front() == '`' && trimmed.back() == '`';
  return isQuoted ? trimmed.substr(1, trimmed.size() - 2) : trimmed;
}

// The cells of a table's line; "\|" is a bar in a cell.
tagRow Cells(const std::string& line) {
  tagRow cells;
  std::string cell;
  for (std::size_t i = 1; i < line.size(); ++i) {
    if (line[i] == '\\' && i + 1 < line.size() && line[i + 1] == '|') {
      cell += line[++i];
    } else if (line[i] == '|') {
      cells.push_back(Plain(cell));
      cell.clear();
    } else {
      cell += line[i];
    }
  }
  return cells;
}

// The rows of all tables of the page that have these headings.
std::vector<tagRow> Rows(const tagRow& headings) {
  std::ifstream page(RepositoryPath("docs/expressions.md"));
  EXPECT_TRUE(page.is_open());
  std::vector<tagRow> rows;
  bool isInside = false;
  for (std::string line; std::getline(page, line);) {
    if (line.empty() || line[0] != '|') {
      isInside = false;
    } else if (Cells(line) == headings) {
      isInside = true;
    } else if (isInside && line.find("---") == std::string::npos) {
      rows.push_back(Cells(line));
    }
  }
  return rows;
}

class ExpressionsPage : public ::testing::Test {
 protected:
  // The variables of the page's example, with the values that it gives them.
  ExpressionsPage() {
    time.SetUtc(ZRVirtualTime::kDefaultUtc);
    for (const tagRow& row : Rows({"variable", "value"}))
      SetVariable(row.at(0), row.at(1));
    time.SetUtc(ZRVirtualTime::kDefaultUtc + 90'000);
  }

  void SetVariable(const std::string& name, const std::string& value) {
    if (value == "unknown") return;
    ZRLiveValue& variable = site[name];
    if (value == "unavailable") return;
    if (value == "unavailable, had a value") {
      variable.SetNumber(1.0, time.UtcMilliseconds());
      variable.SetUnavailable();
    } else if (value.front() == '"') {
      variable.SetText(value.substr(1, value.size() - 2), time.UtcMilliseconds());
    } else {
      variable.SetNumber(std::stod(value), time.UtcMilliseconds());
    }
  }

  ZRVirtualTime time;
  CSiteValues site;
};

TEST_F(ExpressionsPage, ExamplesHaveTheClassAndResultThatItTells) {
  const std::vector<tagRow> rows = Rows({"expression", "class", "result"});
  EXPECT_GT(rows.size(), 60u);
  for (const tagRow& row : rows) {
    ASSERT_EQ(3u, row.size());
    EXPECT_EQ(row[1], std::to_string(ClassOf(row[0]))) << row[0];
    EXPECT_EQ(row[2], ResultOf(row[0])) << row[0];
  }
}

TEST_F(ExpressionsPage, InvalidExamplesHaveThePositionAndReasonThatItTells) {
  const std::vector<tagRow> rows = Rows({"expression", "position", "reason"});
  EXPECT_GT(rows.size(), 8u);
  for (const tagRow& row : rows) {
    ASSERT_EQ(3u, row.size());
    ZREvaluator evaluator;
    Give(evaluator, row[0]);
    EXPECT_EQ(ZREvaluator::kInvalid, evaluator.AnalizeExpression()) << row[0];
    EXPECT_EQ(row[1], std::to_string(evaluator.ErrorPosition())) << row[0];
    EXPECT_EQ(row[2], evaluator.ErrorReason().Text()) << row[0];
  }
}

// Every function of the page has an example.
TEST_F(ExpressionsPage, EveryFunctionHasAnExample) {
  const std::vector<tagRow> examples = Rows({"expression", "class", "result"});
  const std::vector<tagRow> functions = Rows({"function", "value"});
  EXPECT_GT(functions.size(), 15u);
  for (const tagRow& row : functions) {
    const std::string call = row.at(0).substr(0, row.at(0).find('(') + 1);
    EXPECT_TRUE(std::any_of(examples.begin(), examples.end(), [&](const tagRow& example) {
      return example.at(0).find(call) != std::string::npos;
    })) << call;
  }
}

}  // namespace
