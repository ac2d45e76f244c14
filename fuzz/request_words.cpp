#include "fuzz/request_words.h"

#include "packetdb/query.h"

namespace packetdb::fuzz {

ColumnBytes Name(std::string_view name) {
  Bytes value(name.begin(), name.end());
  value.resize(kNameWord.size);
  return {kNameWord.declared_id, kNameWord.size, std::move(value)};
}

ColumnBytes Codes(std::initializer_list<int> codes) {
  Bytes value;
  for (const int code : codes) {
    const Bytes bytes = HostBytes(static_cast<std::uint32_t>(code));
    value.insert(value.end(), bytes.begin(), bytes.end());
  }
  return Array(kCodesId, std::move(value));
}

RequestBytes QueryFor(std::string_view name) {
  RequestBytes query = RequestFor(UDB_GET_DBQUERY);
  query.columns.push_back(Name(name));
  query.columns.push_back(Number(kVersionWord, version));
  query.columns.push_back(Number(kEndWord, 0x7FFFFFFF));
  return query;
}

RequestBytes RequestFor(std::uint32_t command) {
  RequestBytes request;
  request.columns.push_back(Number(kCommandWord, command));
  return request;
}

}  // namespace packetdb::fuzz
