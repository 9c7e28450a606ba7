#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "foundation/config_node.h"
#include "servers/config/atomic_file.h"

namespace vellix {

// Failures inside the configuration server reach the caller as negative
// error numbers, as a failed call into another program does.
namespace config_error {
inline constexpr int32_t kBase = -2147221504;  // the runtime's vbObjectError
inline constexpr int32_t kUnknownType = kBase + 1001;
inline constexpr int32_t kTypeMismatch = kBase + 1002;
inline constexpr int32_t kNotAValue = kBase + 1003;
inline constexpr int32_t kCommitFailed = kBase + 1004;
}  // namespace config_error

// The content types a node can have. A "Collection" node has children
// instead of a value; every other node is a leaf holding one value.
enum class ContentKind : uint8_t { Boolean, String, Integer, Long, Double, Date, Collection };

std::string_view ContentKindName(ContentKind kind);
// The kind of a type name, in any letter case; nothing for an unknown name.
std::optional<ContentKind> ParseContentKind(std::string_view name);
// A value converted to the kind's own type; raises the runtime's conversion
// errors (13, 6) when it doesn't convert. A Collection holds Empty.
Variant ConvertContent(const Variant& value, ContentKind kind);

// One node of the configuration server's tree. Keys are compared without
// regard to letter case and never contain '.', the path separator. File paths
// given to LoadFile and Commit may separate folders with '\\', as the
// product's callers build them. The tree is used from one thread.
class ConfigTreeNode final : public ConfigNode,
                             public std::enable_shared_from_this<ConfigTreeNode> {
 public:
  // Levels below a root a tree may have. Real trees have under ten; the bound
  // keeps hostile files and runaway paths from exhausting the stack.
  static constexpr int kMaxDepth = 100;

  ConfigTreeNode(std::string key, ContentKind kind, Variant content);
  ~ConfigTreeNode() override;

  Variant GetValue(const std::string& keyPath) override;
  Ref<ConfigNode> GetNode(const std::string& keyPath, bool create, const std::string& contentType,
                          const Variant& defaultValue) override;
  Variant GetContent() override;
  void SetContent(const Variant& value) override;
  std::string ContentType() override;
  std::vector<Ref<ConfigNode>> ConfigEntries() override;
  std::string Key() override;
  bool LoadFile(const std::string& path) override;
  bool AttachBranch(const Ref<ConfigNode>& branch, const std::string& parentKey) override;
  void Commit(const std::string& target) override;

  // The server's own access, without conversions or copies.
  [[nodiscard]] const std::string& KeyText() const { return key_; }
  [[nodiscard]] ContentKind Kind() const { return kind_; }
  [[nodiscard]] const Variant& Content() const { return content_; }
  [[nodiscard]] const std::vector<std::shared_ptr<ConfigTreeNode>>& Children() const {
    return children_;
  }
  [[nodiscard]] ConfigTreeNode* FindChild(std::string_view key) const;
  // The node at a dotted path below this one (this one for ""); null when
  // absent or when the path has an empty part.
  [[nodiscard]] ConfigTreeNode* FindPath(std::string_view path);
  // Appends a detached node as the last child; false when a child of that key
  // is already there or this node is not a Collection.
  bool Adopt(const std::shared_ptr<ConfigTreeNode>& child);
  // Levels above this node.
  [[nodiscard]] int Depth() const;
  // Levels of the subtree below this node (0 for a leaf).
  [[nodiscard]] int Height() const;
  [[nodiscard]] std::size_t CountNodes() const;

  // On the root of a server's tree: the file Commit("") writes.
  void SetCommitFile(std::filesystem::path file) { commitFile_ = std::move(file); }
  // Why the last LoadFile or Commit on this node failed.
  [[nodiscard]] const std::string& LastError() const { return lastError_; }

 private:
  struct KeyHash {
    std::size_t operator()(std::string_view key) const noexcept;
  };
  struct KeyEqual {
    bool operator()(std::string_view a, std::string_view b) const noexcept;
  };
  using ChildIndex = std::unordered_map<std::string_view, ConfigTreeNode*, KeyHash, KeyEqual>;

  ConfigTreeNode* Root();
  void IndexChild(ConfigTreeNode* child);
  void DropChildren();

  std::string key_;
  ContentKind kind_;
  Variant content_;
  std::weak_ptr<ConfigTreeNode> parent_;
  std::vector<std::shared_ptr<ConfigTreeNode>> children_;
  // Built once a node has more children than a linear scan handles well.
  std::unique_ptr<ChildIndex> index_;
  std::filesystem::path commitFile_;
  std::string lastError_;
  // What this root last made durable, and where: a Commit that would write
  // the same text to the same, untouched file has nothing to do.
  struct Durable {
    std::filesystem::path file;
    std::string text;
    FileStamp stamp;
  };
  std::optional<Durable> durable_;
};

// A node belonging to no tree: fill it with LoadFile and graft it in with
// AttachBranch.
std::shared_ptr<ConfigNode> NewFreeConfigNode();

}  // namespace vellix
