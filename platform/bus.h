// The command bus: the messages that carry a query and its answer, and the dispatcher's view of a
// command handler.
//
// A host implements everything declared here; the library only calls it. One message serves one
// exchange and belongs to one thread at a time.
#pragma once

#include <boost/shared_ptr.hpp>
#include <vector>

// A message: a header that declares columns (an identifier and a size in bytes each), records that
// give the columns values, and possibly an end marker. Bit 31 of a declared identifier says that
// the column is an integer, which the host carries in network byte order; other columns are bytes.
// Values are set and read under the identifier without bit 31.
//
// Operations that set, declare, write or read return a negative value on failure and leave the
// reason in LastError().
class CAbstractPacketOptions {
 public:
  // Writing, in this order: kind, columns, record count, marker flag, header, then per record its
  // values, and the marker last.
  virtual int SetKind(int kind) = 0;  // 1 a query, 0 an answer table
  // Declares the next column; `size` in bytes.
  virtual int AddColumn(unsigned int id, unsigned int size) = 0;
  virtual int SetRecordCount(int count) = 0;  // -1: not announced
  virtual int SetMarkerFlag(int flag) = 0;    // 1: an end marker follows the records
  virtual int WriteHeader() = 0;
  // Copies the column's declared size in bytes from `value`, an integer in host byte order.
  virtual int SetValue(unsigned int id, const void* value) = 0;
  virtual int WriteRecord() = 0;
  virtual int WriteMarker() = 0;

  // Reading: BeginRead once, the header, then records until the marker.
  virtual void BeginRead() = 0;
  virtual int ReadHeader() = 0;
  virtual int ReadRecord() = 0;
  // The getters answer null or 0 for a column that the record does not carry. `size`, when not
  // null, receives the value's size in bytes. A pointer from GetRaw is valid until the next
  // operation that is not a getter.
  virtual const void* GetRaw(unsigned int id, unsigned int* size) const = 0;
  virtual int GetInt(unsigned int id, unsigned int* size) const = 0;
  virtual unsigned short GetShort(unsigned int id, unsigned int* size) const = 0;
  virtual unsigned char GetByte(unsigned int id, unsigned int* size) const = 0;
  virtual int IsMarker() const = 0;  // nonzero: what ReadRecord read is the end marker

  int LastError() const;  // 8 after a failed write, 7 after a failed read, else the host's own

 protected:
  ~CAbstractPacketOptions() = default;  // hosts own their messages by their concrete type
  int m_LastError = 0;
};

// Client side: sends the command that was written into `message` and waits for its status: 0
// success, -3 empty result, any other value an error. The message then reads the answer.
int udbGetCommandAnswer(CAbstractPacketOptions* message);

// Server side: sends the answer code for the command that `message` brought. Negative on failure.
int udbSendCommandAnswer(CAbstractPacketOptions* message, int answer);

namespace UdbDispatcher {

// A command handler as the dispatcher sees it. The order of the virtual operations is fixed.
class IUdbCallback {
 public:
  IUdbCallback();  // enabled
  virtual ~IUdbCallback();
  virtual int call(CAbstractPacketOptions* message) = 0;  // 0 success, -1 failure
  virtual const char* desc() const = 0;                   // what the handler does, for people
  virtual void* arg() const;                              // null unless overridden
  virtual void enable();
  virtual void disable();
  virtual bool enabled() const;
  virtual IUdbCallback* Clone() const = 0;  // a new object that the caller owns

 protected:
  IUdbCallback(const IUdbCallback&) = default;
  IUdbCallback& operator=(const IUdbCallback&) = default;

  bool m_enabled;
};

// One registered command. A copy never shares the handler: it holds a clone of its own. There is
// deliberately no move, so that a growing table clones as well.
template <class Id>
struct CommandCallbackT {
  CommandCallbackT(const boost::shared_ptr<IUdbCallback>& callback, Id command)
      : m_callback(callback), m_command(command) {}
  CommandCallbackT(const CommandCallbackT& other)
      : m_callback(other.m_callback ? other.m_callback->Clone() : nullptr),
        m_command(other.m_command) {}
  CommandCallbackT& operator=(const CommandCallbackT& other) {
    if (this != &other) {
      m_callback.reset(other.m_callback ? other.m_callback->Clone() : nullptr);
      m_command = other.m_command;
    }
    return *this;
  }
  ~CommandCallbackT() = default;

  boost::shared_ptr<IUdbCallback> m_callback;
  Id m_command;
};

template <class Id>
using CommandCallbacksT = std::vector<CommandCallbackT<Id>>;

}  // namespace UdbDispatcher
