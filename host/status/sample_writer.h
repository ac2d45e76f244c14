// Samples in the text format 0.0.4 of Prometheus.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace packetdb::host {

struct DaemonReport;
class SampleWriter;

// The samples that go by one name. `labels` are those that every one of them has, separated by
// commas, for the page that lists the metrics.
struct MetricFamily {
  std::string_view name;
  std::string_view type;  // "counter", whose name then ends in _total, or "gauge"
  std::string_view labels;
  std::string_view help;  // one line, neither backslash nor line feed
  void (*write)(const DaemonReport& report, SampleWriter& out);
};

class SampleWriter {
 public:
  using Labels = std::initializer_list<std::pair<std::string_view, std::string_view>>;

  // Samples of this family follow. Nothing is written for a family that has none.
  void Begin(const MetricFamily& family);

  // Values of labels may be any bytes: control bytes and what is no UTF-8 are shown escaped.
  void Write(Labels labels, std::uint64_t value) { Write(labels, std::to_string(value)); }
  void Write(Labels labels, std::int64_t value) { Write(labels, std::to_string(value)); }

  const std::string& text() const { return text_; }

 private:
  void Write(Labels labels, const std::string& value);

  const MetricFamily* family_ = nullptr;
  bool is_announced_ = false;
  std::string text_;
};

}  // namespace packetdb::host
