#include "fuzz/client_bytes.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "host/bus/byte_order.h"
#include "host/bus/frame.h"

namespace packetdb::fuzz {
namespace {

using host::FrameType;
using host::kPayloadOffset;
using Input = std::span<const std::uint8_t>;

// Of a header's payload: its fixed part, and one column behind it.
constexpr std::size_t kFixedSize = 10;
constexpr std::size_t kEntrySize = 8;

// The payload of the frame of this type that the input begins with, which is taken away; false when
// there is none or it is not whole.
bool TakeFrame(FrameType type, Input* input, Input* payload) {
  if (input->size() < kPayloadOffset) return false;
  const std::size_t length = host::LoadNetwork32(input->data());
  const bool fits = length >= host::kMinFrameLength && length <= input->size() - host::kLengthSize;
  if (!fits || (*input)[host::kVersionOffset] != host::kProtocolVersion) return false;
  if ((*input)[host::kTypeOffset] != static_cast<std::uint8_t>(type)) return false;
  *payload = input->subspan(kPayloadOffset, length - host::kMinFrameLength);
  *input = input->subspan(host::kLengthSize + length);
  return true;
}

void TakeValues(Input record, RequestBytes* request) {
  for (ColumnBytes& column : request->columns) {
    const Input value = record.first(std::min<std::size_t>(column.declared_size, record.size()));
    column.value.assign(value.begin(), value.end());
    record = record.subspan(value.size());
  }
}

bool TakeRequest(Input* input, RequestBytes* request) {
  Input rest = *input;
  Input header;
  if (!TakeFrame(FrameType::kHeader, &rest, &header) || header.size() < kFixedSize) return false;
  request->kind = host::LoadNetwork32(header.data());
  request->record_count = host::LoadNetwork32(header.data() + 4);
  request->marker = header[8];
  for (header = header.subspan(kFixedSize); header.size() >= kEntrySize;
       header = header.subspan(kEntrySize)) {
    request->columns.push_back(
        {host::LoadNetwork32(header.data()), host::LoadNetwork32(header.data() + 4), {}});
  }
  Input record;
  request->has_record = TakeFrame(FrameType::kRecord, &rest, &record);
  TakeValues(record, request);
  *input = rest;
  return true;
}

void Append(const Bytes& bytes, Bytes* to) { to->insert(to->end(), bytes.begin(), bytes.end()); }

void AppendFrame(FrameType type, const Bytes& payload, Bytes* to) {
  Append(NetworkBytes(payload.size() + host::kMinFrameLength, host::kLengthSize), to);
  to->push_back(host::kProtocolVersion);
  to->push_back(static_cast<std::uint8_t>(type));
  Append(payload, to);
}

void AppendRequest(const RequestBytes& request, Bytes* to) {
  Bytes header = NetworkBytes(request.kind, 4);
  Append(NetworkBytes(request.record_count, 4), &header);
  header.push_back(request.marker);
  header.push_back(static_cast<std::uint8_t>(request.columns.size()));
  Bytes record;
  for (const ColumnBytes& column : request.columns) {
    Append(NetworkBytes(column.declared_id, 4), &header);
    Append(NetworkBytes(column.declared_size, 4), &header);
    Append(column.value, &record);
  }
  AppendFrame(FrameType::kHeader, header, to);
  if (request.has_record) AppendFrame(FrameType::kRecord, record, to);
}

}  // namespace

ClientBytes ParseClient(Input input) {
  ClientBytes client;
  if (input.empty()) return client;
  client.options = input.front();
  input = input.subspan(1);
  while (!input.empty()) {
    ClientPart part;
    part.is_request = TakeRequest(&input, &part.request);
    if (!part.is_request) {
      part.raw.assign(input.begin(), input.end());
      input = {};
    }
    client.parts.push_back(std::move(part));
  }
  return client;
}

Bytes SerializeClient(const ClientBytes& client) {
  Bytes bytes = {client.options};
  for (const ClientPart& part : client.parts) {
    if (part.is_request) AppendRequest(part.request, &bytes);
    Append(part.raw, &bytes);
  }
  return bytes;
}

Bytes NetworkBytes(std::uint64_t value, std::size_t size) {
  Bytes bytes(size);
  for (auto place = bytes.rbegin(); place != bytes.rend(); ++place) {
    *place = static_cast<std::uint8_t>(value);
    value >>= 8U;
  }
  return bytes;
}

Bytes HostBytes(std::uint32_t value) {
  Bytes bytes(sizeof value);
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

}  // namespace packetdb::fuzz
