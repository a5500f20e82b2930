#include "zrevents/history/zrrecordorder.h"

#include <algorithm>
#include <array>

namespace {

constexpr unsigned kDigitBits = 11;
constexpr std::size_t kDigits = std::size_t{1} << kDigitBits;

std::size_t Digit(std::uint64_t key, unsigned shift) {
  return (key >> shift) & (kDigits - 1);
}

// Moves the records into `to` in the order of one digit. False, with nothing moved, if all have
// the same.
bool Distribute(const ZRDatedRecords& from, ZRDatedRecords& to, std::uint64_t lowest,
                unsigned shift) {
  std::array<std::size_t, kDigits> places{};
  for (const ZRDatedRecord& record : from)
    ++places[Digit(record.key - lowest, shift)];
  if (places[Digit(from.front().key - lowest, shift)] == from.size()) return false;
  std::size_t sum = 0;
  for (std::size_t& place : places)
    sum += std::exchange(place, sum);
  for (const ZRDatedRecord& record : from)
    to[places[Digit(record.key - lowest, shift)]++] = record;
  return true;
}

}  // namespace

void OrderByKey(ZRDatedRecords& records) {
  if (records.size() < 2) return;
  const auto byKey = [](const ZRDatedRecord& a, const ZRDatedRecord& b) { return a.key < b.key; };
  const auto [least, most] = std::minmax_element(records.begin(), records.end(), byKey);
  const std::uint64_t lowest = least->key;
  const std::uint64_t range = most->key - lowest;
  ZRDatedRecords other(records.size());
  for (unsigned shift = 0; shift < 64 && range >> shift != 0; shift += kDigitBits)
    if (Distribute(records, other, lowest, shift)) records.swap(other);
}
