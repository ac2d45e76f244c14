// The names of groups and interfaces, and the files that stand for a group.
#pragma once

#include <string>
#include <string_view>

namespace packetdb::host {

// A query carries 32 bytes of name; one is kept for the terminating NUL.
inline constexpr std::size_t kLongestName = 31;

// A group's name becomes part of file names: letters, digits, '_', '-' and '.', not in front.
bool IsGroupName(std::string_view name);
// What to say of a name that is none: the name, and what one looks like.
std::string DescribeBadGroupName(std::string_view name);

// As the kernel has them (dev_valid_name in net/core/dev.c), but up to 31 bytes: no '/', no blanks,
// no control bytes.
bool IsInterfaceName(std::string_view name);

inline constexpr std::string_view kJournalSuffix = ".journal";
inline constexpr std::string_view kCatalogueSuffix = ".group";

std::string JournalPath(const std::string& directory, std::string_view group);
std::string CataloguePath(const std::string& directory, std::string_view group);

}  // namespace packetdb::host
