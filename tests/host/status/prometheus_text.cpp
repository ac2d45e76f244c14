#include "tests/host/status/prometheus_text.h"

#include <charconv>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>

namespace packetdb::host::test {
namespace {

using Labels = std::map<std::string, std::string>;

class Reader {
 public:
  std::vector<PrometheusFamily> Read(const std::string& text) {
    if (!text.ends_with('\n')) Fail("the last line does not end");
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      ++number_;
      ReadLine(line);
    }
    EndFamily();
    return families_;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    throw PrometheusError("line " + std::to_string(number_) + ": " + what);
  }

  void Require(bool condition, const std::string& what) const {
    if (!condition) Fail(what);
  }

  void ReadLine(const std::string& line) {
    static const std::regex help("# HELP ([a-z][a-z0-9_]*) (\\S.*)");
    static const std::regex type("# TYPE ([a-z][a-z0-9_]*) (counter|gauge)");
    std::smatch match;
    Require(nlohmann::json(line).dump(-1, ' ', false, nlohmann::json::error_handler_t::ignore) ==
                nlohmann::json(line).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace),
            "not UTF-8");
    if (std::regex_match(line, match, help)) {
      Begin(match[1], match[2]);
    } else if (std::regex_match(line, match, type)) {
      SetType(match[1], match[2]);
    } else {
      Require(!line.empty() && line.front() != '#', "neither HELP nor TYPE nor a sample");
      ReadSample(line);
    }
  }

  void Begin(const std::string& name, const std::string& help) {
    EndFamily();
    Require(help.find('\\') == std::string::npos, "a backslash in the help");
    Require(names_.insert(name).second, "the family " + name + " a second time");
    families_.push_back({name, "", help, {}});
  }

  void SetType(const std::string& name, const std::string& type) {
    Require(!families_.empty() && families_.back().name == name, "TYPE without its HELP");
    Require(families_.back().type.empty(), "TYPE a second time");
    Require((type == "counter") == name.ends_with("_total"), "counters end in _total");
    families_.back().type = type;
  }

  void EndFamily() const {
    if (!families_.empty()) Require(!families_.back().samples.empty(), "a family of no samples");
  }

  void ReadSample(const std::string& line) {
    const std::size_t name_end = line.find_first_of("{ ");
    Require(name_end != std::string::npos, "a sample without a value");
    Require(!families_.empty() && families_.back().name == line.substr(0, name_end),
            "a sample outside its family");
    Require(!families_.back().type.empty(), "a sample before its TYPE");
    std::size_t at = name_end;
    PrometheusSample sample;
    if (line[at] == '{') sample.labels = ReadLabels(line, &at);
    Require(at < line.size() && line[at] == ' ', "no blank before the value");
    sample.value = ReadValue(line.substr(at + 1));
    Add(sample);
  }

  Labels ReadLabels(const std::string& line, std::size_t* at) const {
    Labels labels;
    while (line[*at] != '}') {
      ++*at;  // the brace or the comma
      const std::size_t equals = line.find("=\"", *at);
      Require(equals != std::string::npos, "a label without a value");
      const std::string name = line.substr(*at, equals - *at);
      static const std::regex kName("[a-z][a-z0-9_]*");
      Require(std::regex_match(name, kName), "not the name of a label: " + name);
      *at = equals + 2;
      Require(labels.emplace(name, ReadQuoted(line, at)).second, "a label twice");
      Require(*at < line.size() && (line[*at] == ',' || line[*at] == '}'), "no end of the labels");
    }
    ++*at;
    return labels;
  }

  std::string ReadQuoted(const std::string& line, std::size_t* at) const {
    std::string value;
    for (; *at < line.size() && line[*at] != '"'; ++*at) {
      if (line[*at] == '\\') {
        ++*at;
        Require(*at < line.size() && std::string("\\\"n").find(line[*at]) != std::string::npos,
                "an unknown escape");
        value += line[*at] == 'n' ? '\n' : line[*at];
      } else {
        value += line[*at];
      }
    }
    Require(*at < line.size(), "a value without its end");
    ++*at;
    return value;
  }

  double ReadValue(const std::string& text) const {
    double value = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
    Require(parsed.ec == std::errc() && parsed.ptr == text.data() + text.size(),
            "not a number: " + text);
    return value;
  }

  void Add(const PrometheusSample& sample) {
    auto& samples = families_.back().samples;
    for (const PrometheusSample& other : samples) {
      Require(other.labels != sample.labels, "a sample twice");
      Require(NamesOf(other.labels) == NamesOf(sample.labels), "other labels than before");
    }
    samples.push_back(sample);
  }

  static std::set<std::string> NamesOf(const Labels& labels) {
    std::set<std::string> names;
    for (const auto& [name, value] : labels) names.insert(name);
    return names;
  }

  int number_ = 0;
  std::set<std::string> names_;
  std::vector<PrometheusFamily> families_;
};

}  // namespace

std::vector<PrometheusFamily> ReadPrometheusText(const std::string& text) {
  return Reader().Read(text);
}

double ValueIn(const std::vector<PrometheusFamily>& families, const std::string& name,
               const Labels& labels) {
  for (const PrometheusFamily& family : families) {
    if (family.name != name) continue;
    for (const PrometheusSample& sample : family.samples) {
      if (sample.labels == labels) return sample.value;
    }
  }
  throw PrometheusError("no such sample of " + name);
}

}  // namespace packetdb::host::test
