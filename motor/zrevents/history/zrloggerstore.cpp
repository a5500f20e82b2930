#include "zrevents/history/zrloggerstore.h"

#include <algorithm>
#include <stdexcept>

void ZRLoggerStore::AddChunk() {
  if (chunkCount == kChunks) throw std::length_error("list<T> too long");
  room = kFirstChunk << chunkCount;
  chunks[chunkCount] = ZRLargeMemory::Any(std::size_t{room} * sizeof(CDataRecord));
  free = First(chunkCount);
  ++chunkCount;
}

void ZRLoggerStore::AddTexts(std::size_t bytes) {
  const std::size_t size = std::max(nextTexts, bytes);
  textFree = static_cast<char*>(texts.emplace_back(ZRLargeMemory::Any(size)).Data());
  textRoom = size;
  nextTexts = std::min(nextTexts * 2, kMostTexts);
}
