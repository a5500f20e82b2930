// The string of the whole system.
//
// ZRBasicString<char> holds UTF-8. ZRBasicString<wchar_t> holds UTF-16 code units, one in each
// wchar_t whatever its width: characters above U+FFFF are pairs. Comparisons are by code unit.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <functional>
#include <string_view>

// Traits: length and comparison of zero-terminated text, and the shared empty one. Null counts as
// the empty text.
struct ZRChar {
  using tagChar = char;
  static constexpr char kEmpty[1] = {};

  [[nodiscard]] static std::size_t Length(const char* text) {
    return text != nullptr ? std::strlen(text) : 0;
  }
  // Below 0, 0 or above 0, by unsigned bytes, terminator included; 0 for equal texts.
  [[nodiscard]] static int Compare(const char* a, const char* b) {
    return std::strcmp(a != nullptr ? a : kEmpty, b != nullptr ? b : kEmpty);
  }
  [[nodiscard]] static char* EmptyString() noexcept {  // never written to
    return const_cast<char*>(kEmpty);
  }
};

struct ZRWideChar {
  using tagChar = wchar_t;
  static constexpr wchar_t kEmpty[1] = {};

  [[nodiscard]] static std::size_t Length(const wchar_t* text) {
    return text != nullptr ? std::wcslen(text) : 0;
  }
  // The numeric order of 16-bit units, terminator included; 0 for equal texts.
  [[nodiscard]] static int Compare(const wchar_t* a, const wchar_t* b) {
    return std::wcscmp(a != nullptr ? a : kEmpty, b != nullptr ? b : kEmpty);
  }
  [[nodiscard]] static wchar_t* EmptyString() noexcept { return const_cast<wchar_t*>(kEmpty); }
};

template <typename Char>
struct ZRDefaultTraits;
template <>
struct ZRDefaultTraits<char> {
  using tagTraits = ZRChar;
};
template <>
struct ZRDefaultTraits<wchar_t> {
  using tagTraits = ZRWideChar;
};

// A plain value without a lock. Zero-terminated; a text that holds a NUL ends there for whoever
// reads it as a pointer. Lengths are 32 bits; more than kMaximumLength is std::length_error.
//
// The growth policy belongs to the object: an assignment gives it a text, never a policy, and a
// copy starts without one. Arguments may lie in the text that is changed.
//
// Promise   an empty string, and one that borrows a literal, allocate nothing; the first change
//           of a borrowed text makes an owned copy, and so does copying it. Without a policy each
//           append that doesn't fit takes exactly the memory it needs.
template <typename Char, typename Traits = typename ZRDefaultTraits<Char>::tagTraits>
class ZRBasicString {
 public:
  using tagView = std::basic_string_view<Char>;

  // Bits of Flags().
  static constexpr std::uint32_t kGrowDouble = 1;  // with kGrow: room for 65535 more
  static constexpr std::uint32_t kBorrowed = 16;   // the buffer isn't owned
  static constexpr std::uint32_t kGrow = 32;       // room for 255 more at each allocation

  static constexpr std::uint32_t kRoom = 255;          // characters added by kGrow alone
  static constexpr std::uint32_t kDoubleRoom = 65535;  // and by kGrow | kGrowDouble
  static constexpr std::uint32_t kMaximumLength = 0xFFFFFFFFu - kDoubleRoom;

  ZRBasicString() noexcept = default;
  // Copies `source`. Null is the empty text.
  // NOLINTNEXTLINE(google-explicit-constructor): literals are texts everywhere
  explicit(false) ZRBasicString(const Char* source) { Assign(source, Traits::Length(source)); }
  // Copies `source` (true) or borrows it (false), and then it must outlive this text.
  template <std::same_as<bool> Flag>
  ZRBasicString(const Char* source, Flag copy) {
    if (copy) {
      Assign(source, Traits::Length(source));
    } else {
      Borrow(source);
    }
  }
  ZRBasicString(const Char* source, std::size_t count) { Assign(source, count); }
  explicit ZRBasicString(tagView source) { Assign(source.data(), source.size()); }
  ZRBasicString(const ZRBasicString& other) { Assign(other.text, other.length); }
  ZRBasicString(ZRBasicString&& other) noexcept
      : text(other.text), flags(other.flags), spare(other.spare), length(other.length) {
    other.Forget();
  }
  ZRBasicString& operator=(const ZRBasicString& other) {
    if (this != &other) Assign(other.text, other.length);
    return *this;
  }
  ZRBasicString& operator=(ZRBasicString&& other) noexcept;
  ZRBasicString& operator=(const Char* source) {
    Assign(source, Traits::Length(source));
    return *this;
  }
  ~ZRBasicString() { Free(); }

  [[nodiscard]] const Char* Text() const noexcept { return text; }
  [[nodiscard]] std::uint32_t Length() const noexcept { return length; }
  [[nodiscard]] std::uint32_t Spare() const noexcept { return spare; }
  [[nodiscard]] std::uint32_t Flags() const noexcept { return flags; }
  [[nodiscard]] bool IsEmpty() const noexcept { return length == 0; }
  [[nodiscard]] tagView View() const noexcept { return tagView(text, length); }
  // The terminator can be read too.
  [[nodiscard]] Char operator[](std::size_t at) const { return text[at]; }

  // Chooses room for 255 more characters at each allocation, unless a policy is set already.
  void GrowInSteps() noexcept {
    if ((flags & kPolicy) == 0) flags |= kGrow;
  }
  void SetGrowth(std::uint32_t policy) noexcept {  // kGrow, kGrow | kGrowDouble, or 0
    flags = (flags & ~kPolicy) | (policy & kPolicy);
  }
  // Makes room at once, so that appends up to `count` characters in all don't allocate.
  void Reserve(std::size_t count);

  // The buffer stays for the next text; Reset gives it back.
  void Clear() noexcept;
  void Reset() noexcept {
    Free();
    Forget();
  }
  void Assign(const Char* source, std::size_t count);
  void Append(const Char* source, std::size_t count) {
    if (count == 0) return;
    if (count > spare) return AppendWithRoom(source, count);
    std::memcpy(text + length, source, count * sizeof(Char));
    Lengthen(count);
  }
  void Append(tagView source) { Append(source.data(), source.size()); }
  void Append(Char character) { Append(&character, 1); }
  // Appends the `count` characters that `write(Char*)` puts down, all of them. It mustn't throw.
  template <typename Writer>
  void AppendWritten(std::size_t count, Writer&& write) {
    if (count == 0) return;
    if (count > spare) Reallocate(Total(count));
    write(text + length);
    Lengthen(count);
  }
  ZRBasicString& operator+=(const ZRBasicString& other) {
    Append(other.text, other.length);
    return *this;
  }
  ZRBasicString& operator+=(const Char* other) {
    Append(other, Traits::Length(other));
    return *this;
  }
  ZRBasicString& operator+=(Char other) {
    Append(&other, 1);
    return *this;
  }

  friend ZRBasicString operator+(const ZRBasicString& a, const ZRBasicString& b) {
    return Joined(a.View(), b.View());
  }
  friend ZRBasicString operator+(const ZRBasicString& a, const Char* b) {
    return Joined(a.View(), tagView(b, Traits::Length(b)));
  }
  friend ZRBasicString operator+(const Char* a, const ZRBasicString& b) {
    return Joined(tagView(a, Traits::Length(a)), b.View());
  }
  friend bool operator==(const ZRBasicString& a, const ZRBasicString& b) noexcept {
    return a.View() == b.View();
  }
  friend bool operator==(const ZRBasicString& a, const Char* b) {
    return Traits::Compare(a.text, b) == 0;
  }
  // The order of Traits::Compare.
  friend bool operator<(const ZRBasicString& a, const ZRBasicString& b) {
    return Traits::Compare(a.text, b.text) < 0;
  }

 private:
  static constexpr std::uint32_t kPolicy = kGrow | kGrowDouble;

  [[nodiscard]] static ZRBasicString Joined(tagView a, tagView b);

  [[nodiscard]] bool Owned() const noexcept { return (flags & kBorrowed) == 0; }
  void Free() noexcept {
    if (Owned()) std::free(text);  // NOLINT(clang-analyzer-unix.Malloc): not when borrowed
  }
  // Becomes the shared empty text, without a look at the buffer.
  void Forget() noexcept {
    text = Traits::EmptyString();
    flags |= kBorrowed;
    spare = 0;
    length = 0;
  }
  // Takes over `count` characters that stand behind the text already.
  void Lengthen(std::size_t count) noexcept {
    length += static_cast<std::uint32_t>(count);
    spare -= static_cast<std::uint32_t>(count);
    text[length] = Char();
  }
  void Borrow(const Char* source);
  // The length with `count` more characters; std::length_error if that is too many.
  [[nodiscard]] std::size_t Total(std::size_t count) const;
  [[nodiscard]] std::uint32_t Room() const noexcept;
  // An owned buffer for `count` characters and what the policy adds, that begins with the text.
  void Reallocate(std::size_t count);
  void AppendWithRoom(const Char* source, std::size_t count);

  Char* text = Traits::EmptyString();
  std::uint32_t flags = kBorrowed;
  std::uint32_t spare = 0;
  std::uint32_t length = 0;
};

extern template class ZRBasicString<char, ZRChar>;
extern template class ZRBasicString<wchar_t, ZRWideChar>;

using ZRString = ZRBasicString<char>;
using ZRWString = ZRBasicString<wchar_t>;

static_assert(sizeof(ZRString) == 24 && sizeof(ZRWString) == 24);

// For unordered containers.
template <>
struct std::hash<ZRWString> {
  std::size_t operator()(const ZRWString& text) const noexcept {
    return std::hash<std::wstring_view>()(text.View());
  }
};
template <>
struct std::hash<ZRString> {
  std::size_t operator()(const ZRString& text) const noexcept {
    return std::hash<std::string_view>()(text.View());
  }
};
