// The string of the whole system.
//
// ZRBasicString<char> holds UTF-8. ZRBasicString<wchar_t> holds UTF-16 code units, one in each
// wchar_t whatever its width: characters above U+FFFF are pairs. Comparisons are by code unit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

// Traits: length and comparison of zero-terminated text, and the shared empty one.
struct ZRChar {
  using tagChar = char;
  [[nodiscard]] static std::size_t Length(const char* text);
  [[nodiscard]] static int Compare(const char* a, const char* b);  // 0 for equal texts
  [[nodiscard]] static char* EmptyString();                        // never written to
};

struct ZRWideChar {
  using tagChar = wchar_t;
  [[nodiscard]] static std::size_t Length(const wchar_t* text);
  // The numeric order of 16-bit units, terminator included; 0 for equal texts.
  [[nodiscard]] static int Compare(const wchar_t* a, const wchar_t* b);
  [[nodiscard]] static wchar_t* EmptyString();
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
// reads it as a pointer. Lengths are 32 bits; more is std::length_error.
//
// Promise   an empty string, and one that borrows a literal, allocate nothing; the first change
//           of a borrowed text makes an owned copy, and so does copying it.
template <typename Char, typename Traits = typename ZRDefaultTraits<Char>::tagTraits>
class ZRBasicString {
 public:
  using tagView = std::basic_string_view<Char>;

  // Bits of Flags().
  static constexpr std::uint32_t kGrowDouble = 1;    // with kGrow: room for 65535 more
  static constexpr std::uint32_t kBorrowed = 16;     // the buffer isn't owned
  static constexpr std::uint32_t kGrow = 32;         // room for 255 more at each allocation

  ZRBasicString() noexcept;
  // Copies `source` (true) or borrows it (false), and then it must outlive this text. Null is
  // the empty text.
  explicit(false) ZRBasicString(const Char* source, bool copy = true);
  ZRBasicString(const Char* source, std::size_t count);
  explicit ZRBasicString(tagView source);
  ZRBasicString(const ZRBasicString& other);
  ZRBasicString(ZRBasicString&& other) noexcept;
  ZRBasicString& operator=(const ZRBasicString& other);
  ZRBasicString& operator=(ZRBasicString&& other) noexcept;
  ZRBasicString& operator=(const Char* source);
  ~ZRBasicString();

  [[nodiscard]] const Char* Text() const noexcept { return text; }
  [[nodiscard]] std::uint32_t Length() const noexcept { return length; }
  [[nodiscard]] std::uint32_t Spare() const noexcept { return spare; }
  [[nodiscard]] std::uint32_t Flags() const noexcept { return flags; }
  [[nodiscard]] bool IsEmpty() const noexcept { return length == 0; }
  [[nodiscard]] tagView View() const noexcept { return tagView(text, length); }
  [[nodiscard]] Char operator[](std::size_t at) const { return text[at]; }

  // Chooses room for 255 more characters at each allocation, unless a policy is set already.
  void GrowInSteps() noexcept;
  void SetGrowth(std::uint32_t policy) noexcept;  // kGrow, kGrow | kGrowDouble, or 0

  // The buffer stays for the next text; Reset gives it back.
  void Clear();
  void Reset() noexcept;
  void Assign(const Char* source, std::size_t count);
  void Append(const Char* source, std::size_t count);
  void Append(tagView source) { Append(source.data(), source.size()); }
  void Append(Char character) { Append(&character, 1); }
  ZRBasicString& operator+=(const ZRBasicString& other);
  ZRBasicString& operator+=(const Char* other);
  ZRBasicString& operator+=(Char other);

  friend ZRBasicString operator+(const ZRBasicString& a, const ZRBasicString& b) {
    ZRBasicString sum(a.View());
    sum.Append(b.View());
    return sum;
  }
  friend ZRBasicString operator+(const ZRBasicString& a, const Char* b) {
    ZRBasicString sum(a.View());
    sum += b;
    return sum;
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
  void Grow(std::size_t needed);
  void Free() noexcept;

  Char* text;
  std::uint32_t flags;
  std::uint32_t spare;
  std::uint32_t length;
};

extern template class ZRBasicString<char, ZRChar>;
extern template class ZRBasicString<wchar_t, ZRWideChar>;

using ZRString = ZRBasicString<char>;
using ZRWString = ZRBasicString<wchar_t>;

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
