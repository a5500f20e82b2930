#include "host/tools/zrbasicstring.h"

#include <new>
#include <stdexcept>

template <typename Char, typename Traits>
ZRBasicString<Char, Traits>& ZRBasicString<Char, Traits>::operator=(
    ZRBasicString&& other) noexcept {
  if (this == &other) return *this;
  Free();
  text = other.text;
  flags = (flags & kPolicy) | (other.flags & kBorrowed);
  spare = other.spare;
  length = other.length;
  other.Forget();
  return *this;
}

template <typename Char, typename Traits>
void ZRBasicString<Char, Traits>::Borrow(const Char* source) {
  if (source == nullptr) return;
  const std::size_t count = Traits::Length(source);
  if (count > kMaximumLength) throw std::length_error("ZRBasicString");
  text = const_cast<Char*>(source);  // kBorrowed keeps every change away from it
  length = static_cast<std::uint32_t>(count);
}

template <typename Char, typename Traits>
std::size_t ZRBasicString<Char, Traits>::Total(std::size_t count) const {
  if (count > kMaximumLength - length) throw std::length_error("ZRBasicString");
  return length + count;
}

template <typename Char, typename Traits>
std::uint32_t ZRBasicString<Char, Traits>::Room() const noexcept {
  if ((flags & kGrow) == 0) return 0;
  return (flags & kGrowDouble) != 0 ? kDoubleRoom : kRoom;
}

template <typename Char, typename Traits>
void ZRBasicString<Char, Traits>::Reallocate(std::size_t count) {
  const std::size_t all = count + Room();
  const std::size_t bytes = (all + 1) * sizeof(Char);
  void* const buffer = Owned() ? std::realloc(text, bytes) : std::malloc(bytes);
  if (buffer == nullptr) throw std::bad_alloc();
  if (!Owned()) std::memcpy(buffer, text, length * sizeof(Char));
  text = static_cast<Char*>(buffer);
  flags &= ~kBorrowed;
  spare = static_cast<std::uint32_t>(all - length);
  text[length] = Char();
}

template <typename Char, typename Traits>
void ZRBasicString<Char, Traits>::Reserve(std::size_t count) {
  if (count > kMaximumLength) throw std::length_error("ZRBasicString");
  if (count > std::size_t{length} + spare) Reallocate(count);
}

template <typename Char, typename Traits>
void ZRBasicString<Char, Traits>::Clear() noexcept {
  if (!Owned()) return Forget();
  spare += length;
  length = 0;
  text[0] = Char();
}

template <typename Char, typename Traits>
void ZRBasicString<Char, Traits>::Assign(const Char* source, std::size_t count) {
  if (count == 0) return Clear();
  if (Owned() && count <= std::size_t{length} + spare) {
    std::memmove(text, source, count * sizeof(Char));
    spare += length;
    length = 0;
    Lengthen(count);
    return;
  }
  if (count > kMaximumLength) throw std::length_error("ZRBasicString");
  // The source may lie in the text, which is therefore freed last.
  ZRBasicString fresh;
  fresh.flags |= flags & kPolicy;
  fresh.Reallocate(count);
  std::memcpy(fresh.text, source, count * sizeof(Char));
  fresh.Lengthen(count);
  *this = std::move(fresh);
}

template <typename Char, typename Traits>
void ZRBasicString<Char, Traits>::AppendWithRoom(const Char* source, std::size_t count) {
  const std::size_t total = Total(count);
  const std::less_equal<const Char*> notBehind;
  const bool within = Owned() && notBehind(text, source) && notBehind(source, text + length);
  const std::size_t offset = within ? static_cast<std::size_t>(source - text) : 0;
  Reallocate(total);
  std::memcpy(text + length, within ? text + offset : source, count * sizeof(Char));
  Lengthen(count);
}

template <typename Char, typename Traits>
ZRBasicString<Char, Traits> ZRBasicString<Char, Traits>::Joined(tagView a, tagView b) {
  ZRBasicString sum;
  if (a.size() > kMaximumLength || b.size() > kMaximumLength - a.size()) {
    throw std::length_error("ZRBasicString");
  }
  sum.Reserve(a.size() + b.size());
  sum.Append(a);
  sum.Append(b);
  return sum;
}

template class ZRBasicString<char, ZRChar>;
template class ZRBasicString<wchar_t, ZRWideChar>;
