// What a client of the bus sends, as requests and what is none: to be changed in parts, and put
// together again. Any bytes are parts: what cannot be taken apart is one of bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace packetdb::fuzz {

using Bytes = std::vector<std::uint8_t>;

// The first byte of an input: bits that say what happens besides its bytes being sent.
inline constexpr std::uint8_t kStays = 1;     // the client does not say that nothing more comes
inline constexpr std::uint8_t kRowLimit = 2;  // an answer may have kMostRows rows
inline constexpr int kMostRows = 10;          // less than the journal has

// A column as it is declared, and what the record has in its place, which may be of another size.
struct ColumnBytes {
  std::uint32_t declared_id = 0;
  std::uint32_t declared_size = 0;
  Bytes value;
};

// A header frame and, unless it has been taken away, the record frame behind it.
struct RequestBytes {
  std::uint32_t kind = 1;
  std::uint32_t record_count = 1;
  std::uint8_t marker = 0;
  std::vector<ColumnBytes> columns;
  bool has_record = true;
};

// Either of them; `raw` behind the request.
struct ClientPart {
  bool is_request = false;
  RequestBytes request;
  Bytes raw;
};

struct ClientBytes {
  std::uint8_t options = 0;
  std::vector<ClientPart> parts;
};

ClientBytes ParseClient(std::span<const std::uint8_t> input);
Bytes SerializeClient(const ClientBytes& client);

// A value as a column carries it: integers in network byte order, arrays of codes in ours.
Bytes NetworkBytes(std::uint64_t value, std::size_t size);
Bytes HostBytes(std::uint32_t value);

}  // namespace packetdb::fuzz
