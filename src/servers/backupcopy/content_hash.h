#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vellix::backupcopy {

// A fast 64-bit non-cryptographic hash of a byte stream (the XXH64 function),
// fed in blocks of any size: the result depends only on the bytes, never on
// how they were split. It checks that a copy came out the same, which needs
// speed at several gigabytes a second, not resistance to tampering.
class ContentHash {
 public:
  explicit ContentHash(uint64_t seed = 0);

  void Update(const void* data, size_t size);
  [[nodiscard]] uint64_t Digest() const;

  // The hash of one block.
  [[nodiscard]] static uint64_t Of(const void* data, size_t size, uint64_t seed = 0);

 private:
  static constexpr size_t kStripe = 32;

  void Consume(const unsigned char* stripe);

  uint64_t seed_;
  std::array<uint64_t, 4> acc_;
  std::array<unsigned char, kStripe> pending_{};
  size_t pendingSize_ = 0;
  uint64_t total_ = 0;
};

}  // namespace vellix::backupcopy
