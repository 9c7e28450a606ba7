#pragma once

#include <cstdint>
#include <string>

#include "foundation/outlook.h"
#include "foundation/ref.h"

namespace vellix {

// The record the engine hands with a purge question (Notify of type 0).
class PurgeDetails {
 public:
  virtual ~PurgeDetails() = default;
  // Items the agent wants to purge.
  virtual int32_t ItemCount() = 0;
  // Kind of item, in the engine's words.
  virtual std::string ItemType() = 0;
  // The folder concerned.
  virtual Ref<MAPIFolder> Folder() = 0;
  // The agent that asks.
  virtual std::string AgentName() = 0;
};

}  // namespace vellix
