#include "servers/config/config_tree_node.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <utility>

#include "foundation/text.h"
#include "foundation/vb_error.h"
#include "servers/config/atomic_file.h"
#include "servers/config/config_xml.h"

namespace vellix {

namespace {

constexpr std::array<std::string_view, 7> kKindNames = {"Boolean", "String", "Integer",   "Long",
                                                        "Double",  "Date",   "Collection"};

// Up to this many children a linear scan beats hashing.
constexpr std::size_t kIndexThreshold = 8;

bool SameKey(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  // Callers nearly always spell a key as the tree does.
  if (std::memcmp(a.data(), b.data(), a.size()) == 0) return true;
  return EqualsText(a, b);
}

// Calls fn for each part of a dotted path; stops and gives false at the first
// empty part or when fn gives false.
template <class Fn>
bool ForEachPart(std::string_view path, Fn&& fn) {
  for (;;) {
    const std::size_t dot = path.find('.');
    const std::string_view part = path.substr(0, dot);
    if (part.empty() || !fn(part)) return false;
    if (dot == std::string_view::npos) return true;
    path.remove_prefix(dot + 1);
  }
}

// Callers build paths the way the product's own platform does, with '\\'
// between folders; on this one a path is taken as it stands when it names a
// file, and with '\\' read as '/' otherwise.
std::filesystem::path ServerPath(const std::string& path) {
  std::error_code ec;
  if (path.find('\\') == std::string::npos || std::filesystem::exists(path, ec)) return path;
  std::string slashed = path;
  std::replace(slashed.begin(), slashed.end(), '\\', '/');
  return slashed;
}

[[noreturn]] void RaiseServer(int32_t number, const std::string& description) {
  throw VbError(number, description);
}

}  // namespace

std::string_view ContentKindName(ContentKind kind) {
  return kKindNames.at(static_cast<std::size_t>(kind));
}

std::optional<ContentKind> ParseContentKind(std::string_view name) {
  for (std::size_t i = 0; i < kKindNames.size(); ++i) {
    if (SameKey(name, kKindNames[i])) return static_cast<ContentKind>(i);
  }
  return std::nullopt;
}

Variant ConvertContent(const Variant& value, ContentKind kind) {
  switch (kind) {
    case ContentKind::Boolean:
      return Variant(value.ToBool());
    case ContentKind::String:
      return Variant(value.ToString());
    case ContentKind::Integer:
      return Variant(value.ToInteger());
    case ContentKind::Long:
      return Variant(value.ToLong());
    case ContentKind::Double:
      return Variant(value.ToDouble());
    case ContentKind::Date:
      return Variant(value.ToDate());
    case ContentKind::Collection:
      break;
  }
  return Variant();
}

std::size_t ConfigTreeNode::KeyHash::operator()(std::string_view key) const noexcept {
  std::size_t h = 14695981039346656037ull;  // FNV-1a over the lower-cased key
  for (char c : key) {
    h ^= static_cast<unsigned char>(LCase(c));
    h *= 1099511628211ull;
  }
  return h;
}

bool ConfigTreeNode::KeyEqual::operator()(std::string_view a, std::string_view b) const noexcept {
  return SameKey(a, b);
}

ConfigTreeNode::ConfigTreeNode(std::string key, ContentKind kind, Variant content)
    : key_(std::move(key)), kind_(kind), content_(std::move(content)) {}

ConfigTreeNode::~ConfigTreeNode() = default;

ConfigTreeNode* ConfigTreeNode::FindChild(std::string_view key) const {
  if (index_) {
    auto it = index_->find(key);
    return it == index_->end() ? nullptr : it->second;
  }
  for (const auto& child : children_) {
    if (SameKey(child->key_, key)) return child.get();
  }
  return nullptr;
}

ConfigTreeNode* ConfigTreeNode::FindPath(std::string_view path) {
  if (path.empty()) return this;
  ConfigTreeNode* node = this;
  bool found = ForEachPart(path, [&](std::string_view part) {
    node = node->FindChild(part);
    return node != nullptr;
  });
  return found ? node : nullptr;
}

void ConfigTreeNode::IndexChild(ConfigTreeNode* child) {
  if (!index_ && children_.size() > kIndexThreshold) {
    index_ = std::make_unique<ChildIndex>();
    index_->reserve(children_.size() * 2);
    for (const auto& c : children_)
      index_->emplace(c->key_, c.get());
  } else if (index_) {
    index_->emplace(child->key_, child);
  }
}

bool ConfigTreeNode::Adopt(const std::shared_ptr<ConfigTreeNode>& child) {
  if (kind_ != ContentKind::Collection || FindChild(child->key_) != nullptr) return false;
  child->parent_ = weak_from_this();
  children_.push_back(child);
  IndexChild(child.get());
  return true;
}

void ConfigTreeNode::DropChildren() {
  for (const auto& child : children_)
    child->parent_.reset();
  children_.clear();
  index_.reset();
}

int ConfigTreeNode::Depth() const {
  int depth = 0;
  for (auto p = parent_.lock(); p; p = p->parent_.lock())
    ++depth;
  return depth;
}

int ConfigTreeNode::Height() const {
  int height = 0;
  for (const auto& child : children_)
    height = std::max(height, child->Height() + 1);
  return height;
}

std::size_t ConfigTreeNode::CountNodes() const {
  std::size_t count = 1;
  for (const auto& child : children_)
    count += child->CountNodes();
  return count;
}

ConfigTreeNode* ConfigTreeNode::Root() {
  // Each living node above is held by its own parent or by a caller, so the
  // pointer stays good after the lock is dropped.
  ConfigTreeNode* node = this;
  while (auto parent = node->parent_.lock())
    node = parent.get();
  return node;
}

Variant ConfigTreeNode::GetValue(const std::string& keyPath) {
  const ConfigTreeNode* node = FindPath(keyPath);
  return node ? node->content_ : Variant();
}

Ref<ConfigNode> ConfigTreeNode::GetNode(const std::string& keyPath, bool create,
                                        const std::string& contentType,
                                        const Variant& defaultValue) {
  ConfigTreeNode* node = this;
  std::string_view rest = keyPath;
  while (!rest.empty()) {
    const std::size_t dot = rest.find('.');
    const std::string_view part = rest.substr(0, dot);
    if (part.empty()) return nullptr;
    ConfigTreeNode* child = node->FindChild(part);
    if (!child) break;
    node = child;
    rest = dot == std::string_view::npos ? std::string_view() : rest.substr(dot + 1);
    if (dot != std::string_view::npos && rest.empty()) return nullptr;  // a trailing dot
  }
  if (rest.empty()) return node->shared_from_this();
  if (!create || node->kind_ != ContentKind::Collection) return nullptr;

  int parts = 0;
  if (!ForEachPart(rest, [&](std::string_view) { return ++parts > 0; })) return nullptr;
  if (node->Depth() + parts > kMaxDepth) return nullptr;

  ContentKind kind = ContentKind::Collection;
  if (!contentType.empty()) {
    auto parsed = ParseContentKind(contentType);
    if (!parsed)
      RaiseServer(config_error::kUnknownType, "Unknown content type \"" + contentType + "\"");
    kind = *parsed;
  } else if (!defaultValue.IsEmpty()) {
    kind = *ParseContentKind(defaultValue.TypeName());
  }
  Variant content;
  try {
    content = ConvertContent(defaultValue, kind);
  } catch (const VbError& e) {
    RaiseServer(config_error::kTypeMismatch, "The default \"" + defaultValue.ToString() +
                                                 "\" is no " + std::string(ContentKindName(kind)) +
                                                 ": " + e.Description());
  }

  ForEachPart(rest, [&](std::string_view part) {
    const bool last = part.data() + part.size() == rest.data() + rest.size();
    auto child = last ? std::make_shared<ConfigTreeNode>(std::string(part), kind, content)
                      : std::make_shared<ConfigTreeNode>(std::string(part), ContentKind::Collection,
                                                         Variant());
    node->Adopt(child);
    node = child.get();
    return true;
  });
  return node->shared_from_this();
}

Variant ConfigTreeNode::GetContent() {
  return content_;
}

void ConfigTreeNode::SetContent(const Variant& value) {
  if (kind_ == ContentKind::Collection) {
    RaiseServer(config_error::kNotAValue, "The node \"" + key_ + "\" is a Collection");
  }
  try {
    content_ = ConvertContent(value, kind_);
  } catch (const VbError& e) {
    RaiseServer(config_error::kTypeMismatch, "\"" + value.ToString() + "\" is no " +
                                                 std::string(ContentKindName(kind_)) + " for \"" +
                                                 key_ + "\": " + e.Description());
  }
}

std::string ConfigTreeNode::ContentType() {
  return std::string(ContentKindName(kind_));
}

std::vector<Ref<ConfigNode>> ConfigTreeNode::ConfigEntries() {
  std::vector<Ref<ConfigNode>> entries;
  entries.reserve(children_.size());
  for (const auto& child : children_)
    entries.emplace_back(child);
  return entries;
}

std::string ConfigTreeNode::Key() {
  return key_;
}

bool ConfigTreeNode::LoadFile(const std::string& path) {
  std::vector<std::shared_ptr<ConfigTreeNode>> loaded;
  std::string error;
  if (!ReadConfigXmlFile(ServerPath(path), kMaxDepth - Depth(), &loaded, &error)) {
    lastError_ = error;
    std::fprintf(stderr, "vellix config server: %s\n", error.c_str());
    return false;
  }
  DropChildren();
  kind_ = ContentKind::Collection;
  content_ = Variant();
  for (const auto& child : loaded)
    Adopt(child);
  lastError_.clear();
  return true;
}

bool ConfigTreeNode::AttachBranch(const Ref<ConfigNode>& branch, const std::string& parentKey) {
  auto* source = dynamic_cast<ConfigTreeNode*>(branch.Shared().get());
  ConfigTreeNode* parent = FindPath(parentKey);
  if (!source || !parent || parent->kind_ != ContentKind::Collection) return false;
  if (source->children_.empty()) return false;
  // Grafting a node below itself would make a loop.
  for (ConfigTreeNode* p = parent; p; p = p->parent_.lock().get()) {
    if (p == source) return false;
  }
  for (const auto& child : source->children_) {
    if (parent->FindChild(child->key_)) return false;
  }
  if (parent->Depth() + source->Height() > kMaxDepth) return false;

  // The children change parents; the source keeps nothing, not even its index.
  auto moving = std::exchange(source->children_, {});
  source->index_.reset();
  for (const auto& child : moving)
    parent->Adopt(child);
  return true;
}

void ConfigTreeNode::Commit(const std::string& target) {
  ConfigTreeNode* root = Root();
  const std::filesystem::path file = target.empty() ? root->commitFile_ : ServerPath(target);
  if (file.empty()) return;  // a free tree has no file to make durable
  std::string text = WriteConfigXml(*root);
  // Each write waits for the disk twice; the same text over the file this
  // root wrote, still as it left it, is durable already.
  auto& durable = root->durable_;
  if (durable && durable->file == file && durable->text == text &&
      StampOf(file) == durable->stamp) {
    root->lastError_.clear();
    return;
  }
  std::string error;
  if (!WriteFileAtomically(file, text, &error)) {
    root->lastError_ = error;
    std::fprintf(stderr, "vellix config server: %s\n", error.c_str());
    RaiseServer(config_error::kCommitFailed, error);
  }
  root->lastError_.clear();
  if (auto stamp = StampOf(file)) {
    durable = Durable{file, std::move(text), *stamp};
  } else {
    durable.reset();
  }
}

std::shared_ptr<ConfigNode> NewFreeConfigNode() {
  return std::make_shared<ConfigTreeNode>(std::string(), ContentKind::Collection, Variant());
}

}  // namespace vellix
