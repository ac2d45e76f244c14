// The files beside a journal that its conversion makes, and what may stand at their names.
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>

namespace packetdb::host {

inline constexpr std::string_view kTemporarySuffix = ".~tmp";
inline constexpr std::string_view kOldSuffix = ".~old";

struct ConversionFiles {
  explicit ConversionFiles(const std::string& path);

  std::string journal;    // the old file first, then the converted one
  std::string temporary;  // where the library builds the converted file
  std::string unborn;     // where the record file makes the temporary one
  std::string old;        // a second name of the old file, until the conversion is complete
  std::string kept;       // a third one, for a user who wants to keep it
};

// Whether anything is there, a symbolic link that leads nowhere included. Throws JournalError when
// that cannot be told.
bool IsThere(const std::string& path);

// Throws JournalError unless `path` is free, or holds what an interrupted conversion may have left
// there: a regular file of ours with no other name. Ours is what belongs to this user, and for the
// superuser what belongs to the owner of the old file.
// A file with other contents than a record file that is there, or is being made, is none of ours.
void RequireLeftover(const std::string& path, uid_t owner_of_old);

// Throws JournalError when what is at `path` is no regular file.
void RequireFile(const std::string& path);

// Removes a leftover at `path`. What is none, or is in use, stays.
void RemoveLeftover(const std::string& path, uid_t owner_of_old);

}  // namespace packetdb::host
