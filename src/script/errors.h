#pragma once

#include <typeinfo>

namespace NorvoWebAPI {

/// The standard leaves the text of its exceptions to the library; these have one text everywhere.
class BadCast : public std::bad_cast {
 public:
  [[nodiscard]] const char* what() const noexcept override { return "bad cast"; }
};

class BadTypeid : public std::bad_typeid {
 public:
  [[nodiscard]] const char* what() const noexcept override { return "bad typeid"; }
};

}  // namespace NorvoWebAPI
