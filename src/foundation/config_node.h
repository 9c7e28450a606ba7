#pragma once

#include <string>
#include <vector>

#include "foundation/ref.h"
#include "foundation/variant.h"

namespace vellix {

// One node of the configuration tree held by the configuration server. Key
// paths are dotted and walked from the node they are asked of.
// The control panel's own branch of the tree; every key of its texts,
// layouts and settings lies below it.
inline constexpr const char* kBranch = "Componants.VellixControl";

class ConfigNode {
 public:
  virtual ~ConfigNode() = default;

  // Content of the node at the path below this one; the empty path gives this
  // node's own content; a path with nothing behind it gives Empty.
  virtual Variant GetValue(const std::string& keyPath) = 0;
  // The node at the path. When absent: made with that content type and default
  // content if create is true, else nothing.
  virtual Ref<ConfigNode> GetNode(const std::string& keyPath, bool create,
                                  const std::string& contentType, const Variant& defaultValue) = 0;
  virtual Variant GetContent() = 0;
  virtual void SetContent(const Variant& value) = 0;
  // "Boolean", "String", "Integer", "Long", "Double", "Date" or "Collection".
  virtual std::string ContentType() = 0;
  // The children, in tree order.
  virtual std::vector<Ref<ConfigNode>> ConfigEntries() = 0;
  // The node's name within its parent.
  virtual std::string Key() = 0;
  // Fills a free node from an XML file; false, and nothing changed, when the
  // file is missing, unreadable or malformed.
  virtual bool LoadFile(const std::string& path) = 0;
  // Grafts the branch below the node at parentKey; false on failure.
  virtual bool AttachBranch(const Ref<ConfigNode>& branch, const std::string& parentKey) = 0;
  // Makes all changes of the whole tree durable; target is always empty.
  virtual void Commit(const std::string& target) = 0;
};

// The connection to the configuration server.
class ConfigConnector {
 public:
  virtual ~ConfigConnector() = default;
  // The root node, or nothing when the server can't be reached.
  virtual Ref<ConfigNode> RootNode() = 0;
  // Full path of the configuration file; attached to the support mail.
  virtual std::string ConfigFileName() = 0;
  virtual std::string Componant() = 0;
  virtual std::string Version() = 0;
};

}  // namespace vellix
