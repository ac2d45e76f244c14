// The record file: a host's file of fixed-size records, bounded, written by one process at a time.
//
// A host implements CDbFile; the library only calls it. Callers serialise all calls on one object.
#pragma once

#include <memory>
#include <string>

class CDbFile {
 public:
  CDbFile();
  // Closes the file if it is open; never throws.
  virtual ~CDbFile();

  CDbFile(const CDbFile&) = delete;
  CDbFile& operator=(const CDbFile&) = delete;

  // Opens the file at `path`, closing the one that was open before.
  //
  // magic       NUL-terminated text that tells what kind of records the file holds
  // recordSize  bytes of one record
  // maxRecords  records kept; once they are there, an append overwrites the oldest. A negative int
  //             that was widened with its sign arrives here as a huge number: no bound
  // mode        bits: 0 read-only (never creates, never writes, content untrusted), 1 write,
  //             2 create anew and empty whatever is there, 4 create when missing
  //
  // Returns 0 or more when the file is open; -6 when it is a sound file of another magic or record
  // size; any other negative code is the host's name for another failure. The object is closed
  // after a failure.
  virtual int Init(const std::string& path, const char* magic, unsigned long recordSize,
                   unsigned long maxRecords, int mode);

  // Stores one record (recordSize bytes) behind the newest. Returns its ticket, the record's
  // sequence number modulo 2^31, which names it for WriteRecord as long as the record exists;
  // negative when nothing was stored.
  virtual int AppendRecord(const void* record);

  // Reads the record at position `index` (0 = oldest kept, RecordCount() - 1 = newest) into
  // recordSize bytes at `record`. Returns 0 or more, negative on failure.
  virtual int ReadRecord(int index, void* record);

  // Reads up to `count` records from position `first` on into `records`, one after the other.
  // Returns how many were read: fewer than asked only at the end of what exists, 0 or less when
  // nothing was read.
  virtual int ReadRecords(int first, void* records, int count);

  // Overwrites the record that AppendRecord named with ticket `index`. Returns 0 or more; negative,
  // with nothing changed, for a ticket that is negative or whose record no longer exists.
  virtual int WriteRecord(int index, const void* record);

  // Closes the file. Harmless on a closed one.
  void Done();

  // The path of the last Init; empty before the first.
  std::string GetFilePath() const;

  // Records that can be read now; 0 when closed. A read-only opener reads the records that were
  // there when it last asked, whatever a writer appends meanwhile.
  int RecordCount() const;

 private:
  class Impl;  // the host's own
  std::unique_ptr<Impl> m_Impl;
};
