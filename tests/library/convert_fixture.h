// Journals of earlier releases, on disk, and the storage that converts them.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>

#include "packetdb/storage.h"
#include "tests/support/fixture.h"

namespace packetdb::test {

inline constexpr int kNotOfTheFormat = -6;

struct OldFormat {
  const char* name;
  const char* magic;
  std::size_t record_size;
  int (DbFileStorage::*convert)(const std::string& path, int max_records, int mode);
  const char* notice;  // to the system log
  const char* ending;  // how the count of records begins
};

inline const OldFormat kFormat3{"Format3",
                                "Zolrak-Packet-Database",
                                60,
                                &DbFileStorage::TryConvertDbFromOldFormat3,
                                "The PacketDB version 3 detected, rebuilding to V4",
                                "Success"};
inline const OldFormat kFormat41{"Format41",
                                 "Zolrak-Packet-Database-4",
                                 64,
                                 &DbFileStorage::TryConvertDbFromOldFormat41,
                                 "The PacketDB version 4.1 detected, rebuilding to V4",
                                 "Completed"};

inline void PrintTo(const OldFormat& format, std::ostream* out) { *out << format.name; }

// A record every byte of which is another: counting from `first`.
inline std::string DistinctBytes(std::size_t size, int first = 1) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(first + static_cast<int>(i));
  return bytes;
}

// `count` records that differ in every byte.
inline std::deque<std::string> OldRecords(const OldFormat& format, int count) {
  std::deque<std::string> records;
  for (int i = 0; i < count; ++i) records.push_back(DistinctBytes(format.record_size, 1 + 70 * i));
  return records;
}

// A directory that lives as long as the object.
class FreshDirectory {
 public:
  FreshDirectory() : path_(::testing::TempDir() + "packetdb convert XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("cannot make " + path_);
  }
  ~FreshDirectory() { std::filesystem::remove_all(path_); }
  FreshDirectory(const FreshDirectory&) = delete;
  FreshDirectory& operator=(const FreshDirectory&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// Object 1 of Calls() is the storage's own record file, object 2 the first temporary one.
class ConvertTest : public LibraryTest {
 protected:
  ConvertTest() { Start(); }

  // An empty directory, and files that follow what happens there.
  void Start() {
    ResetPlatform();
    std::filesystem::remove_all(path_);
    std::filesystem::remove_all(temporary_);
    Files().FollowDisk();
    Files().ShowObjects();
    storage_ = std::make_unique<DbFileStorage>();
    Calls().Forget();
  }
  void PutOld(const OldFormat& format, int count) {
    Files().Put(path_, format.magic, format.record_size, OldRecords(format, count));
  }
  int Convert(const OldFormat& format, int max_records = 1000, int mode = 5) {
    return (storage_.get()->*format.convert)(path_, max_records, mode);
  }
  int Init(int max_records = 1000, int mode = 5) {
    return storage_->Init(path_, max_records, mode, 60);
  }

  // "2 Init(PATH, MAGIC, 60, 1000, 5)"
  static std::string InitCall(int object, const std::string& path, const std::string& magic,
                              std::size_t record_size, const std::string& capacity, int mode) {
    return std::to_string(object) + " Init(" + path + ", " + magic + ", " +
           std::to_string(record_size) + ", " + capacity + ", " + std::to_string(mode) + ")";
  }
  std::string OldInit(const OldFormat& format, int object = 2) const {
    return InitCall(object, path_, format.magic, format.record_size, "1000", 5);
  }
  std::string NewInit() const { return InitCall(1, temporary_, kMagic4, 72, "1000", 7); }
  std::string JournalInit() const { return InitCall(1, path_, kMagic4, 72, "1000", 5); }
  static std::string Notice(const OldFormat& format) {
    return std::string("slput(6, ") + format.notice + ")";
  }
  // The names in the directory.
  Strings Names() const {
    Strings names;
    for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
      names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  // What lies at the journal's path: "MAGIC 72 x3", empty when nothing does.
  std::string JournalFile() const {
    const auto file = Files().Find(path_);
    if (!file) return "";
    return file->magic + " " + std::to_string(file->record_size) + " x" +
           std::to_string(file->records.size());
  }
  std::string NewRecord(std::size_t position = 0) const {
    return Files().Find(path_)->records.at(position);
  }

  const FreshDirectory directory_;
  const std::string path_ = directory_.path() + "/journal";
  const std::string temporary_ = path_ + ".~tmp";
  std::unique_ptr<DbFileStorage> storage_;
};

// The tests that hold for both formats alike.
class ConvertEither : public ConvertTest, public ::testing::WithParamInterface<OldFormat> {
 protected:
  const OldFormat& format() const { return GetParam(); }
  void PutOld(int count) { ConvertTest::PutOld(format(), count); }
  int Convert(int max_records = 1000, int mode = 5) {
    return ConvertTest::Convert(format(), max_records, mode);
  }
};

inline auto BothFormats() { return ::testing::Values(kFormat3, kFormat41); }
inline std::string FormatName(const ::testing::TestParamInfo<OldFormat>& format) {
  return format.param.name;
}

}  // namespace packetdb::test
