#include "host/bus/connection.h"

#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include "tests/host/bus/support.h"

namespace packetdb::host {
namespace {

std::string Text(const BusFrame& frame) { return {frame.payload.begin(), frame.payload.end()}; }

std::span<const unsigned char> Bytes(const std::string& text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

// What reading ends with when the peer sends these bytes and closes.
BusError ReadingFramesEndsWith(const std::string& bytes) {
  RawPeer peer;
  peer.SendAndClose(bytes);
  BusFrame frame;
  while (peer.connection.ReadFrame(Wait::kForPeer, &frame)) {
  }
  return peer.connection.failure().code;
}

TEST(Connection, CarriesFramesInOrder) {
  Pair pair;
  pair.client.WriteFrame(FrameType::kRecord, Bytes("one"));
  pair.client.WriteFrame(FrameType::kMarker, {});
  ASSERT_TRUE(pair.client.Flush());
  BusFrame frame;
  ASSERT_TRUE(pair.server.ReadFrame(Wait::kForPeer, &frame));
  EXPECT_EQ(frame.type, FrameType::kRecord);
  EXPECT_EQ(Text(frame), "one");
  ASSERT_TRUE(pair.server.ReadFrame(Wait::kForRest, &frame));
  EXPECT_EQ(frame.type, FrameType::kMarker);
  EXPECT_TRUE(frame.payload.empty());
}

TEST(Connection, SendsNothingBeforeABatchIsFull) {
  RawPeer peer;
  peer.connection.WriteFrame(FrameType::kRecord, Bytes(std::string(65000, 'x')));
  EXPECT_EQ(peer.Receive().size(), 0u);
  peer.connection.WriteFrame(FrameType::kRecord, Bytes(std::string(600, 'y')));
  EXPECT_EQ(peer.Receive().size(), 65000u + 600u + 12u);
}

TEST(Connection, CarriesTheLargestFrame) {
  Pair pair;
  const std::string payload(kMaxPayload, 'z');
  std::thread writer([&] { pair.client.WriteFrame(FrameType::kRecord, Bytes(payload)); });
  BusFrame frame;
  const bool read = pair.server.ReadFrame(Wait::kForPeer, &frame);
  writer.join();
  ASSERT_TRUE(read);
  EXPECT_EQ(frame.payload.size(), kMaxPayload);
  EXPECT_EQ(Text(frame), payload);
}

TEST(Connection, ReadsFramesThatArriveByteByByte) {
  RawPeer peer;
  const std::string bytes = FrameBytes(2, "slow") + FrameBytes(4, "next");
  std::thread sender([&] {
    for (char byte : bytes) peer.Send(std::string(1, byte));
  });
  BusFrame first;
  ASSERT_TRUE(peer.connection.ReadFrame(Wait::kForPeer, &first));
  EXPECT_EQ(Text(first), "slow");
  BusFrame second;
  ASSERT_TRUE(peer.connection.ReadFrame(Wait::kForPeer, &second));
  EXPECT_EQ(Text(second), "next");
  sender.join();
}

TEST(Connection, TellsAnOrderlyCloseFromOneInAFrame) {
  EXPECT_EQ(ReadingFramesEndsWith(""), BusError::kPeerClosed);
  EXPECT_EQ(ReadingFramesEndsWith(FrameBytes(2, "whole")), BusError::kPeerClosed);
  const std::string frame = FrameBytes(2, "cut");
  for (std::size_t length = 1; length < frame.size(); ++length) {
    EXPECT_EQ(ReadingFramesEndsWith(frame.substr(0, length)), BusError::kClosedMidway) << length;
  }
}

TEST(Connection, TakesACloseForMidwayWhereTheRestOfAnExchangeIsDue) {
  RawPeer peer;
  peer.SendAndClose("");
  BusFrame frame;
  EXPECT_FALSE(peer.connection.ReadFrame(Wait::kForRest, &frame));
  EXPECT_EQ(peer.connection.failure().code, BusError::kClosedMidway);
}

TEST(Connection, RefusesALengthOutOfBounds) {
  for (unsigned int length : {0u, 1u, kMaxFrameLength + 1, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(ReadingFramesEndsWith(Big32(length)), BusError::kBadFrameLength) << length;
  }
  EXPECT_EQ(ReadingFramesEndsWith(Big32(2)), BusError::kClosedMidway);
  EXPECT_EQ(ReadingFramesEndsWith(Big32(kMaxFrameLength)), BusError::kClosedMidway);
}

TEST(Connection, NamesTheLengthThatItRefused) {
  RawPeer peer;
  peer.Send(Big32(2000000));
  BusFrame frame;
  peer.connection.ReadFrame(Wait::kForPeer, &frame);
  EXPECT_EQ(peer.connection.failure().text, "the length of a frame is out of bounds: 2000000");
}

TEST(Connection, RefusesEveryOtherVersion) {
  for (int version = 0; version < 256; ++version) {
    if (version == kProtocolVersion) continue;
    EXPECT_EQ(ReadingFramesEndsWith(FrameBytes(2, "", version)), BusError::kBadVersion) << version;
  }
}

TEST(Connection, RefusesEveryOtherType) {
  for (int type = 0; type < 256; ++type) {
    const bool known = type >= 1 && type <= 4;
    EXPECT_EQ(ReadingFramesEndsWith(FrameBytes(type, "")),
              known ? BusError::kPeerClosed : BusError::kBadFrameType)
        << type;
  }
}

TEST(Connection, RefusesABadVersionWithoutWaitingForTheRest) {
  RawPeer peer;
  peer.Send(Big32(1000) + '\x09' + '\x02');
  BusFrame frame;
  EXPECT_FALSE(peer.connection.ReadFrame(Wait::kForPeer, &frame));
  EXPECT_EQ(peer.connection.failure().code, BusError::kBadVersion);
}

TEST(Connection, GivesUpOnAPeerThatSaysNothing) {
  RawPeer peer(ShortTimeouts());
  BusFrame frame;
  EXPECT_FALSE(peer.connection.ReadFrame(Wait::kForPeer, &frame));
  EXPECT_EQ(peer.connection.failure().code, BusError::kTimedOut);
}

TEST(Connection, GivesUpOnAFrameThatNeverEndsThoughItMayWaitForEver) {
  RawPeer peer({.wait = kNoLimit, .frame = std::chrono::milliseconds(30)});
  peer.Send(Big32(100) + "\1\2 and then");
  BusFrame frame;
  EXPECT_FALSE(peer.connection.ReadFrame(Wait::kForPeer, &frame));
  EXPECT_EQ(peer.connection.failure().code, BusError::kTimedOut);
}

TEST(Connection, GivesUpOnASenderOfSingleBytesHoweverSteady) {
  RawPeer peer({.wait = kNoLimit, .frame = std::chrono::milliseconds(100)});
  peer.Send(Big32(kMaxFrameLength) + "\1\2");
  std::atomic<bool> stop = false;
  std::thread sender([&] {
    while (!stop) {
      peer.Send("x");
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
  BusFrame frame;
  EXPECT_FALSE(peer.connection.ReadFrame(Wait::kForPeer, &frame));
  stop = true;
  sender.join();
  EXPECT_EQ(peer.connection.failure().code, BusError::kTimedOut);
}

TEST(Connection, GivesUpOnAReaderThatTakesNothing) {
  RawPeer peer({.send = std::chrono::milliseconds(30)});
  const std::string megabyte(kMaxPayload, 'x');
  bool sound = true;
  for (int i = 0; i < 64 && sound; ++i) {
    sound = peer.connection.WriteFrame(FrameType::kRecord, Bytes(megabyte));
  }
  EXPECT_FALSE(sound);
  EXPECT_EQ(peer.connection.failure().code, BusError::kTimedOut);
}

TEST(Connection, GetsAnErrorAndNoSignalWhenThePeerIsGone) {
  RawPeer peer;
  peer.raw.Close();
  peer.connection.WriteFrame(FrameType::kMarker, {});
  EXPECT_FALSE(peer.connection.Flush());
  EXPECT_EQ(peer.connection.failure().code, BusError::kClosedMidway);
}

TEST(Connection, SeesAPeerThatLeftBytesUnreadAsClosed) {
  RawPeer peer;
  peer.connection.WriteFrame(FrameType::kMarker, {});
  ASSERT_TRUE(peer.connection.Flush());
  peer.raw.Close();
  BusFrame frame;
  EXPECT_FALSE(peer.connection.ReadFrame(Wait::kForPeer, &frame));
  EXPECT_EQ(peer.connection.failure().code, BusError::kPeerClosed);
}

TEST(Connection, KeepsItsFirstFailure) {
  RawPeer peer;
  peer.Send(FrameBytes(9, "") + FrameBytes(2, "sound"));
  BusFrame frame;
  EXPECT_FALSE(peer.connection.ReadFrame(Wait::kForPeer, &frame));
  EXPECT_FALSE(peer.connection.ReadFrame(Wait::kForPeer, &frame));
  EXPECT_FALSE(peer.connection.WriteFrame(FrameType::kMarker, {}));
  EXPECT_FALSE(peer.connection.Flush());
  EXPECT_FALSE(peer.connection.Fail(BusError::kNoCommand));
  EXPECT_EQ(peer.connection.failure().code, BusError::kBadFrameType);
  EXPECT_EQ(peer.Receive(), "");
}

TEST(Connection, AcceptsNoDescriptors) {
  RawPeer peer;
  int pipe_ends[2];
  ASSERT_EQ(pipe(pipe_ends), 0);
  SendDescriptor(peer.raw, pipe_ends[1]);
  close(pipe_ends[1]);
  BusFrame frame;
  EXPECT_FALSE(peer.connection.ReadFrame(Wait::kForPeer, &frame));
  EXPECT_EQ(peer.connection.failure().code, BusError::kDescriptorsSent);
  // Nobody holds the writing end any more, or this would wait for ever.
  char byte;
  EXPECT_EQ(read(pipe_ends[0], &byte, 1), 0);
  close(pipe_ends[0]);
}

// Interrupts every system call of the process a thousand times a second while it lives.
class Interruptions {
 public:
  Interruptions() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &before_);
    Set(1000);
  }
  ~Interruptions() {
    Set(0);
    sigaction(SIGALRM, &before_, nullptr);
  }

 private:
  static void Set(long microseconds) {
    const itimerval timer{{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_REAL, &timer, nullptr);
  }
  struct sigaction before_ {};
};

TEST(Connection, IsNotDisturbedBySignals) {
  Pair pair;
  const Interruptions interruptions;
  const std::string payload(500000, 'i');
  std::thread writer([&] {
    for (int i = 0; i < 40; ++i) pair.client.WriteFrame(FrameType::kRecord, Bytes(payload));
  });
  BusFrame frame;
  int read = 0;
  while (read < 40 && pair.server.ReadFrame(Wait::kForPeer, &frame)) ++read;
  writer.join();
  EXPECT_EQ(read, 40) << pair.server.failure().text;
}

TEST(Connection, KeepsToItsTimeLimitUnderSignals) {
  RawPeer peer(ShortTimeouts());
  const Interruptions interruptions;
  BusFrame frame;
  EXPECT_FALSE(peer.connection.ReadFrame(Wait::kForPeer, &frame));
  EXPECT_EQ(peer.connection.failure().code, BusError::kTimedOut);
}

TEST(Connection, KnowsItsPeer) {
  const Pair pair;
  ASSERT_TRUE(pair.server.Peer());
  EXPECT_EQ(pair.server.Peer()->pid, getpid());
  EXPECT_EQ(pair.server.Peer()->uid, geteuid());
  EXPECT_EQ(pair.server.Peer()->gid, getegid());
}

TEST(Connection, OnABadDescriptorIsNotSound) {
  Connection connection(SocketDescriptor(), PatientTimeouts());
  EXPECT_EQ(connection.failure().code, BusError::kSystem);
  BusFrame frame;
  EXPECT_FALSE(connection.ReadFrame(Wait::kForPeer, &frame));
}

TEST(Connection, TakesNoMoreBytesInAnExchangeThanItIsTold) {
  const std::string frame = FrameBytes(2, "payload");
  for (const std::size_t most : {2 * frame.size(), 2 * frame.size() - 1}) {
    RawPeer peer;
    peer.connection.set_max_message(most);
    peer.Send(frame + frame);
    BusFrame read;
    EXPECT_TRUE(peer.connection.ReadFrame(Wait::kForPeer, &read));
    EXPECT_EQ(peer.connection.ReadFrame(Wait::kForRest, &read), most == 2 * frame.size());
  }
}

TEST(Connection, CountsTheBytesOfEachExchangeAnew) {
  const std::string frame = FrameBytes(2, "payload");
  RawPeer peer;
  peer.connection.set_max_message(frame.size());
  peer.Send(frame + frame);
  BusFrame read;
  EXPECT_TRUE(peer.connection.ReadFrame(Wait::kForPeer, &read));
  EXPECT_TRUE(peer.connection.ReadFrame(Wait::kForPeer, &read));
}

TEST(Connection, GivesUpOnAMessageWhoseFramesTogetherTakeTooLong) {
  Timeouts timeouts = PatientTimeouts();
  timeouts.message = ShortTimeouts().frame;
  RawPeer peer(timeouts);
  peer.Send(FrameBytes(2, "whole"));
  BusFrame read;
  ASSERT_TRUE(peer.connection.ReadFrame(Wait::kForPeer, &read));
  EXPECT_FALSE(peer.connection.ReadFrame(Wait::kForRest, &read));
  EXPECT_EQ(peer.connection.failure().code, BusError::kTimedOut);
}

TEST(Deadline, EndsWithTheOneThatItLiesIn) {
  Deadline over(std::chrono::milliseconds(0));
  Deadline never(kNoLimit);
  EXPECT_EQ(Deadline(kNoLimit, &over).RemainingForPoll(), 0);
  EXPECT_EQ(Deadline(std::chrono::milliseconds(0), &never).RemainingForPoll(), 0);
  EXPECT_EQ(Deadline(kNoLimit, &never).RemainingForPoll(), -1);
}

TEST(Deadline, WithoutALimitNeverEnds) { EXPECT_EQ(Deadline(kNoLimit).RemainingForPoll(), -1); }

TEST(Deadline, OfNothingIsOverAtOnce) {
  EXPECT_EQ(Deadline(std::chrono::milliseconds(0)).RemainingForPoll(), 0);
}

TEST(Deadline, BeyondTheRangeOfPollIsCutToIt) {
  EXPECT_EQ(Deadline(std::chrono::hours(24 * 365 * 200)).RemainingForPoll(), 2147483647);
}

}  // namespace
}  // namespace packetdb::host
