// What the payload of an MQTT message says of a variable.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The levels of a JSON pointer (RFC 6901), from the root.
using ZRJsonPointer = std::vector<std::string>;

// Nothing if the text isn't one: it begins with "/", or is empty and means the whole document, and
// behind each "~" stands 0 or 1.
[[nodiscard]] std::optional<ZRJsonPointer> ParseJsonPointer(std::string_view text);

// How a variable is read.
struct ZRMqttReading {
  enum class tagType { kNumber, kSwitch, kText };

  tagType type = tagType::kNumber;
  std::optional<ZRJsonPointer> pointer;  // of a JSON document; nothing: the payload is the value
  std::vector<std::string> on, off;      // the words of a switch
  double scale = 1.0;                    // a number is the one of the payload * scale + offset
  double offset = 0.0;
  bool isOptional = false;  // a document without that pointer says nothing
};

struct ZRMqttAnswer {
  enum class tagKind {
    kNumber,   // a finite one
    kText,     // UTF-8 without controls
    kNone,     // the variable has no value: an empty payload, or null
    kNothing,  // the payload isn't about this variable
    kBad,      // `text` is the cause, which quotes nothing of the payload
  };

  tagKind kind = tagKind::kBad;
  double number = 0.0;
  std::string text;
  bool isOfPayload = false;  // it is bad for all variables that are read from it so
};

// Any bytes, read for one variable after the other. A JSON document is parsed once.
//
// Threads   one.
// Owns      not the bytes: they outlive it.
// Promise   what is too large or nests too deep is never parsed.
class ZRMqttPayload {
 public:
  static constexpr std::size_t kMostBytes = std::size_t{256} * 1024;
  static constexpr int kMostDepth = 32;  // objects and arrays

  explicit ZRMqttPayload(std::string_view toRead);
  ~ZRMqttPayload();
  ZRMqttPayload(const ZRMqttPayload&) = delete;
  ZRMqttPayload& operator=(const ZRMqttPayload&) = delete;

  [[nodiscard]] ZRMqttAnswer Read(const ZRMqttReading& how);

 private:
  struct tagDocument;

  [[nodiscard]] ZRMqttAnswer ReadDocument(const ZRMqttReading& how);
  void Parse();

  const std::string_view bytes;
  std::unique_ptr<tagDocument> document;  // null until somebody asks for it
};
