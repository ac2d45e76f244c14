#include "fuzz/log_message_mutator.h"

#include <algorithm>
#include <array>

#include "fuzz/log_message_tree.h"

namespace packetdb::fuzz {
namespace {

// Numbers at which something ends.
constexpr std::array<std::uint32_t, 12> kNumbers = {
    0, 1, 2, 3, 4, 5, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFE, 0xFFFFFFFF, 0x386D4380};
constexpr std::uint16_t kLastType = 21;  // of the kernel's attributes

class Surgeon {
 public:
  Surgeon(std::uint64_t seed, std::span<const std::uint8_t> input)
      : random_(seed), datagrams_(ParseMessages(input)) {}

  void Operate() {
    if (datagrams_.empty()) datagrams_.emplace_back();
    Datagram& datagram = Draw(datagrams_);
    if (datagram.empty() || Below(8) == 0) return ChangeDatagrams(datagram);
    Message& message = Draw(datagram);
    if (message.attributes.empty() || Below(6) == 0) return ChangeMessage(datagram, message);
    ChangeAttributes(message);
  }

  void Repair() { RepairLengths(datagrams_); }
  Bytes Input() const { return SerializeMessages(datagrams_); }

 private:
  std::uint32_t Below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_() % bound); }
  template <class T>
  T& Draw(std::vector<T>& list) {
    return list[Below(static_cast<std::uint32_t>(list.size()))];
  }
  template <class T>
  const T& Draw(const std::vector<T>& list) {
    return list[Below(static_cast<std::uint32_t>(list.size()))];
  }
  std::uint32_t DrawNumber() {
    return Below(3) == 0 ? static_cast<std::uint32_t>(random_()) : kNumbers[Below(kNumbers.size())];
  }

  void ChangeDatagrams(Datagram& datagram) {
    switch (Below(3)) {
      case 0:
        datagram.push_back(NewRecord());
        break;
      case 1:
        datagrams_.push_back(datagram);
        break;
      default:
        datagrams_.emplace_back();
        break;
    }
  }

  Message NewRecord() {
    Message record;
    record.type = kLogMessageType;
    record.body = {2, 0, 0, 5};
    record.attributes = {{12, BigBytes(DrawNumber()), {}}, NewAttribute(), NewAttribute()};
    return record;
  }

  void ChangeMessage(Datagram& datagram, Message& message) {
    static constexpr std::array<std::uint16_t, 5> kTypes = {kLogMessageType, 1, 2, 3, 0x401};
    static constexpr std::array<std::uint8_t, 6> kFamilies = {2, 10, 3, 5, 7, 12};
    switch (Below(6)) {
      case 0:
        message.type = kTypes[Below(kTypes.size())];
        break;
      case 1:
        if (!message.body.empty()) message.body[0] = kFamilies[Below(kFamilies.size())];
        break;
      case 2:
        if (!message.body.empty()) Draw(message.body) ^= static_cast<std::uint8_t>(1U << Below(8));
        break;
      case 3:
        message.length = DrawNumber();
        break;
      case 4:
        message.attributes.push_back(NewAttribute());
        break;
      default:
        datagram.push_back(Message(message));
        break;
    }
  }

  void ChangeAttributes(Message& message) {
    Attribute& attribute = Draw(message.attributes);
    switch (Below(7)) {
      case 0:
        message.attributes.push_back(NewAttribute());
        break;
      case 1:
        message.attributes.push_back(Attribute(attribute));
        break;
      case 2:
        std::swap(attribute, Draw(message.attributes));
        break;
      case 3:
        attribute.length = static_cast<std::uint16_t>(DrawNumber());
        break;
      case 4:
        message.attributes.erase(message.attributes.begin() +
                                 (&attribute - message.attributes.data()));
        break;
      case 5:
        attribute.type = static_cast<std::uint16_t>(Below(kLastType + 1));
        break;
      default:
        ChangeValue(attribute.value);
        break;
    }
  }

  void ChangeValue(Bytes& value) {
    switch (Below(4)) {
      case 0:
        value.resize(Below(40));
        break;
      case 1:
        if (!value.empty()) Draw(value) = static_cast<std::uint8_t>(random_());
        break;
      case 2:
        if (!value.empty()) Draw(value) ^= static_cast<std::uint8_t>(1U << Below(8));
        break;
      default:
        value = BigBytes(DrawNumber());
        break;
    }
  }

  Attribute NewAttribute() {
    return {static_cast<std::uint16_t>(1 + Below(kLastType)), BigBytes(DrawNumber()), {}};
  }

  std::mt19937_64 random_;
  std::vector<Datagram> datagrams_;
};

}  // namespace

Bytes LogMessageMutator::Mutate(std::span<const std::uint8_t> input) {
  Surgeon surgeon(random_(), input);
  const std::uint32_t operations = 1 + Below(4);
  for (std::uint32_t i = 0; i < operations; ++i) surgeon.Operate();
  if (Below(2) == 0) surgeon.Repair();
  return surgeon.Input();
}

}  // namespace packetdb::fuzz
