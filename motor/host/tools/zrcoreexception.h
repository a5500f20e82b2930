// The one exception of the engine.
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace Domain::CoreExceptionNS {

enum class ExceptionType : int { General = 0 };

class CoreException : public std::exception {
 public:
  explicit CoreException(ExceptionType kind) : type(kind) {}
  CoreException(ExceptionType kind, std::string message) : type(kind), text(std::move(message)) {}

  [[nodiscard]] ExceptionType Type() const noexcept { return type; }
  [[nodiscard]] const char* what() const noexcept override { return text.c_str(); }

 private:
  ExceptionType type;
  std::string text;
};

}  // namespace Domain::CoreExceptionNS
