// Another process, which puts things into the place of a name again and again.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace packetdb::faults {

enum class Plant { kSymbolicLink, kHardLink, kFifo };

struct Planted {
  Plant what = Plant::kSymbolicLink;
  std::string target;  // of a link
};

class Planter {
 public:
  // From now on `name` is at times what it should be, and at times one of the plants: they change
  // places as fast as the system does it. Where there is nothing, a plant appears and goes. The
  // folder is the name's.
  Planter(const std::string& name, const std::vector<Planted>& plants);
  ~Planter();  // ends it; what it had planted last may stay
  Planter(const Planter&) = delete;
  Planter& operator=(const Planter&) = delete;

 private:
  pid_t process_;
};

}  // namespace packetdb::faults
