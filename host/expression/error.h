// Why an expression makes no sense.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace packetdb::host::expression {

class ExpressionError : public std::runtime_error {
 public:
  // `offset` and `length` are those of the bytes that are wrong, in the text of the expression.
  ExpressionError(std::size_t offset, std::size_t length, const std::string& message,
                  std::string expected, std::string suggestion = "");

  // What is wrong, without the place.
  std::string message() const { return what(); }
  std::size_t offset() const { return offset_; }
  std::size_t length() const { return length_; }
  const std::string& expected() const { return expected_; }
  // A word that may have been meant; empty when none resembles it.
  const std::string& suggestion() const { return suggestion_; }

 private:
  std::size_t offset_;
  std::size_t length_;
  std::string expected_;
  std::string suggestion_;
};

// In which column the error is, from 1, in characters of UTF-8.
std::size_t ColumnOf(std::string_view expression, const ExpressionError& error);

// In three lines, each ended: what is wrong, the expression (what is around the place, when it is
// long), and below the place what was expected. What is not printable is shown as `?`.
std::string Render(std::string_view expression, const ExpressionError& error,
                   std::string_view program);

}  // namespace packetdb::host::expression
