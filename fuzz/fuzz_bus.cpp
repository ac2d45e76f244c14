// The target for libFuzzer that answers a client of the bus.
#include <algorithm>

#include "fuzz/request_mutator.h"
#include "fuzz/target.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  packetdb::fuzz::TryInput(data, size);
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t max_size, unsigned int seed) {
  packetdb::fuzz::RequestMutator mutator(seed);
  if (mutator.WantsRawBytes()) return LLVMFuzzerMutate(data, size, max_size);
  const packetdb::fuzz::Bytes mutated = mutator.Mutate({data, size});
  if (mutated.size() > max_size) return size;
  std::copy(mutated.begin(), mutated.end(), data);
  return mutated.size();
}
