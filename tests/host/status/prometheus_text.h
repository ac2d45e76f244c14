// A reader of the text format 0.0.4 that takes nothing amiss silently.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace packetdb::host::test {

struct PrometheusSample {
  std::map<std::string, std::string> labels;
  double value = 0;
};

struct PrometheusFamily {
  std::string name;
  std::string type;
  std::string help;
  std::vector<PrometheusSample> samples;
};

class PrometheusError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The families in their order. Beyond the format it holds the page to the conventions: each family
// once, with HELP, TYPE and samples in this order; names and labels in lower case; counters end in
// _total and nothing else does; all samples of a family with the same labels, none of them twice;
// UTF-8 throughout. Throws PrometheusError with the line.
std::vector<PrometheusFamily> ReadPrometheusText(const std::string& text);

// The value of the sample with these labels; throws PrometheusError when there is none.
double ValueIn(const std::vector<PrometheusFamily>& families, const std::string& name,
               const std::map<std::string, std::string>& labels = {});

}  // namespace packetdb::host::test
