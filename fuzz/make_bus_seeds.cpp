// Writes what fuzzing of the bus begins with into a folder: requests of every kind, as they should
// be, and as they should not.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <utility>

#include "fuzz/request_words.h"
#include "host/bus/commands.h"

namespace packetdb::fuzz {
namespace {

class Folder {
 public:
  explicit Folder(std::string path) : path_(std::move(path)) {
    std::filesystem::create_directories(path_);
  }

  void Add(const std::string& name, std::uint8_t options,
           std::initializer_list<RequestBytes> requests, const Bytes& behind = {}) const {
    ClientBytes client = {options, {}};
    for (const RequestBytes& request : requests) client.parts.push_back({true, request, {}});
    client.parts.push_back({false, {}, behind});
    const Bytes bytes = SerializeClient(client);
    std::ofstream file(path_ + "/" + name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  }

 private:
  std::string path_;
};

RequestBytes With(RequestBytes request, std::initializer_list<ColumnBytes> columns) {
  request.columns.insert(request.columns.end(), columns);
  return request;
}

RequestBytes EveryCriterion() {
  RequestBytes query = With(
      QueryFor("edge"), {Number(kStartWord, 1600000000), Codes({-1, 5}), Array(kProtocolsId, {0}),
                         Number(kLimitWord, 7), Number(kDirectionWord, 1)});
  for (const ColumnWord& word : kCriteria) query.columns.push_back(Number(word, 0));
  return query;
}

RequestBytes OldClient() {
  RequestBytes query = RequestFor(100);
  query.columns.push_back(Name("edge"));
  return query;
}

RequestBytes TooLong() { return With(QueryFor("edge"), {Array(kProtocolsId, Bytes(1000, 6))}); }

RequestBytes LyingSize() {
  RequestBytes query = QueryFor("edge");
  query.columns.back().declared_size = 4;
  return query;
}

void AddAll(const Folder& folder) {
  folder.Add("all", 0, {QueryFor("edge")});
  folder.Add("interface", 0, {QueryFor("wan"), QueryFor("eth1")});
  folder.Add("every_criterion", 0, {EveryCriterion()});
  folder.Add("groups_of_codes", 0, {With(QueryFor("edge"), {Codes({-3, -8, 1999, 0, 4})})});
  folder.Add("codes_of_other_order", 0, {With(QueryFor("edge"), {Codes({0x05000000, -16})})});
  folder.Add("too_many_rows", kRowLimit,
             {QueryFor("edge"), RequestFor(host::kCommandExplain),
              With(QueryFor("edge"), {Number(kLimitWord, 3)})});
  folder.Add("status", kStays,
             {RequestFor(host::kCommandStatus), RequestFor(host::kCommandJournals)});
  folder.Add("unknown_command", 0, {RequestFor(7), QueryFor("nobody")});
  folder.Add("old_client", 0, {OldClient()});
  folder.Add("too_long", 0, {TooLong()});
  folder.Add("lying_size", 0, {LyingSize()});
  folder.Add("cut_off", 0, {QueryFor("edge")}, {0, 0, 0, 9, 1, 1});
  folder.Add("garbage", 0, {}, Bytes(20, 0xFF));
}

}  // namespace
}  // namespace packetdb::fuzz

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  packetdb::fuzz::AddAll(packetdb::fuzz::Folder(argv[1]));
  return 0;
}
