#include "servers/backupcopy/content_hash.h"

#include <xxhash.h>

#include <new>

namespace vellix::backupcopy {

void ContentHash::FreeState::operator()(XXH3_state_s* state) const {
  XXH3_freeState(state);
}

ContentHash::ContentHash(uint64_t seed) : state_(XXH3_createState()) {
  if (!state_) throw std::bad_alloc();
  XXH3_64bits_reset_withSeed(state_.get(), seed);
}

void ContentHash::Update(const void* data, size_t size) {
  XXH3_64bits_update(state_.get(), data, size);
}

uint64_t ContentHash::Digest() const {
  return XXH3_64bits_digest(state_.get());
}

uint64_t ContentHash::Of(const void* data, size_t size, uint64_t seed) {
  return XXH3_64bits_withSeed(data, size, seed);
}

}  // namespace vellix::backupcopy
