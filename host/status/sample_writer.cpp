#include "host/status/sample_writer.h"

#include <fmt/format.h>

#include "host/log/escape.h"

namespace packetdb::host {
namespace {

// Whoever reads the format takes anything but UTF-8 for a broken page.
std::string LabelValue(std::string_view value) {
  std::string text;
  for (const char byte : EscapeForLog(value)) {
    if (byte == '\\' || byte == '"') text += '\\';
    text += byte;
  }
  return text;
}

}  // namespace

void SampleWriter::Begin(const MetricFamily& family) {
  family_ = &family;
  is_announced_ = false;
}

void SampleWriter::Write(Labels labels, const std::string& value) {
  if (!is_announced_) {
    text_ += fmt::format("# HELP {0} {1}\n# TYPE {0} {2}\n", family_->name, family_->help,
                         family_->type);
    is_announced_ = true;
  }
  text_ += family_->name;
  char before = '{';
  for (const auto& [name, label] : labels) {
    text_ += fmt::format("{}{}=\"{}\"", before, name, LabelValue(label));
    before = ',';
  }
  text_ += fmt::format("{} {}\n", labels.size() == 0 ? "" : "}", value);
}

}  // namespace packetdb::host
