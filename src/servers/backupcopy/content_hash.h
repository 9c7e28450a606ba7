#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

struct XXH3_state_s;

namespace vellix::backupcopy {

// A fast 64-bit non-cryptographic hash of a byte stream (XXH3-64 from
// libxxhash), fed in blocks of any size: the result depends only on the bytes,
// never on how they were split. It checks that a copy came out the same, which
// needs speed at several gigabytes a second, not resistance to tampering.
class ContentHash {
 public:
  explicit ContentHash(uint64_t seed = 0);

  void Update(const void* data, size_t size);
  [[nodiscard]] uint64_t Digest() const;

  // The hash of one block.
  [[nodiscard]] static uint64_t Of(const void* data, size_t size, uint64_t seed = 0);

 private:
  struct FreeState {
    void operator()(XXH3_state_s* state) const;
  };
  std::unique_ptr<XXH3_state_s, FreeState> state_;
};

}  // namespace vellix::backupcopy
