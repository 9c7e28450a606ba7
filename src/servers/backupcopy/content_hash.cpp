#include "servers/backupcopy/content_hash.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vellix::backupcopy {

namespace {

constexpr uint64_t kPrime1 = 0x9E3779B185EBCA87ULL;
constexpr uint64_t kPrime2 = 0xC2B2AE3D27D4EB4FULL;
constexpr uint64_t kPrime3 = 0x165667B19E3779F9ULL;
constexpr uint64_t kPrime4 = 0x85EBCA77C2B2AE63ULL;
constexpr uint64_t kPrime5 = 0x27D4EB2F165667C5ULL;

// The function is defined on little-endian words whatever the machine.
uint64_t Read64(const unsigned char* p) {
  uint64_t v;
  std::memcpy(&v, p, sizeof v);
  if constexpr (std::endian::native == std::endian::big) v = __builtin_bswap64(v);
  return v;
}

uint32_t Read32(const unsigned char* p) {
  uint32_t v;
  std::memcpy(&v, p, sizeof v);
  if constexpr (std::endian::native == std::endian::big) v = __builtin_bswap32(v);
  return v;
}

uint64_t Round(uint64_t acc, uint64_t input) {
  acc += input * kPrime2;
  acc = std::rotl(acc, 31);
  return acc * kPrime1;
}

uint64_t MergeRound(uint64_t acc, uint64_t value) {
  acc ^= Round(0, value);
  return acc * kPrime1 + kPrime4;
}

}  // namespace

ContentHash::ContentHash(uint64_t seed)
    : seed_(seed), acc_{seed + kPrime1 + kPrime2, seed + kPrime2, seed, seed - kPrime1} {}

void ContentHash::Consume(const unsigned char* stripe) {
  acc_[0] = Round(acc_[0], Read64(stripe));
  acc_[1] = Round(acc_[1], Read64(stripe + 8));
  acc_[2] = Round(acc_[2], Read64(stripe + 16));
  acc_[3] = Round(acc_[3], Read64(stripe + 24));
}

void ContentHash::Update(const void* data, size_t size) {
  const auto* p = static_cast<const unsigned char*>(data);
  total_ += size;
  if (pendingSize_ > 0) {
    const size_t take = std::min(kStripe - pendingSize_, size);
    std::memcpy(pending_.data() + pendingSize_, p, take);
    pendingSize_ += take;
    p += take;
    size -= take;
    if (pendingSize_ < kStripe) return;
    Consume(pending_.data());
    pendingSize_ = 0;
  }
  // The hot loop: whole stripes straight from the caller's block, the four
  // lanes kept in registers.
  if (size >= kStripe) {
    uint64_t a = acc_[0], b = acc_[1], c = acc_[2], d = acc_[3];
    const unsigned char* const end = p + (size - size % kStripe);
    for (; p < end; p += kStripe) {
      a = Round(a, Read64(p));
      b = Round(b, Read64(p + 8));
      c = Round(c, Read64(p + 16));
      d = Round(d, Read64(p + 24));
    }
    acc_ = {a, b, c, d};
    size %= kStripe;
  }
  std::memcpy(pending_.data(), p, size);
  pendingSize_ = size;
}

uint64_t ContentHash::Digest() const {
  uint64_t h;
  if (total_ >= kStripe) {
    h = std::rotl(acc_[0], 1) + std::rotl(acc_[1], 7) + std::rotl(acc_[2], 12) +
        std::rotl(acc_[3], 18);
    for (uint64_t lane : acc_)
      h = MergeRound(h, lane);
  } else {
    h = seed_ + kPrime5;
  }
  h += total_;

  const unsigned char* p = pending_.data();
  size_t left = pendingSize_;
  for (; left >= 8; left -= 8, p += 8) {
    h ^= Round(0, Read64(p));
    h = std::rotl(h, 27) * kPrime1 + kPrime4;
  }
  if (left >= 4) {
    h ^= static_cast<uint64_t>(Read32(p)) * kPrime1;
    h = std::rotl(h, 23) * kPrime2 + kPrime3;
    p += 4;
    left -= 4;
  }
  for (; left > 0; --left, ++p) {
    h ^= (*p) * kPrime5;
    h = std::rotl(h, 11) * kPrime1;
  }

  h ^= h >> 33;
  h *= kPrime2;
  h ^= h >> 29;
  h *= kPrime3;
  h ^= h >> 32;
  return h;
}

uint64_t ContentHash::Of(const void* data, size_t size, uint64_t seed) {
  ContentHash hash(seed);
  hash.Update(data, size);
  return hash.Digest();
}

}  // namespace vellix::backupcopy
