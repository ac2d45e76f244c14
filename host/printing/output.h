// Text on its way to a stream, in large pieces.
#pragma once

#include <cstdio>
#include <string>

namespace packetdb::host {

// Errors stay with the stream, for whoever flushes that.
class Output {
 public:
  explicit Output(std::FILE* out) : out_(out) {}

  std::string& text() { return text_; }  // to append to

  // To be called from time to time, so that the text does not grow without bound.
  void EndRow() {
    constexpr std::size_t kEnough = 65536;
    if (text_.size() >= kEnough) Pass();
  }
  void Flush() {
    Pass();
    std::fflush(out_);
  }
  void Pass() {
    std::fwrite(text_.data(), 1, text_.size(), out_);
    text_.clear();
  }

 private:
  std::FILE* out_;
  std::string text_;
};

}  // namespace packetdb::host
