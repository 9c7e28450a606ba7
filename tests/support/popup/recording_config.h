#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "foundation/config_node.h"

namespace vellix::test {

// Wraps a configuration tree and notes every key the program asked for that
// the tree doesn't hold: a value read or a node fetched without Create. Nodes
// handed out are wrapped too, so keys are noted from the root.
class RecordingConfigNode : public ConfigNode {
 public:
  RecordingConfigNode(Ref<ConfigNode> inner, std::string path,
                      std::shared_ptr<std::set<std::string>> missing);

  Variant GetValue(const std::string& keyPath) override;
  Ref<ConfigNode> GetNode(const std::string& keyPath, bool create, const std::string& contentType,
                          const Variant& defaultValue) override;
  Variant GetContent() override { return inner_->GetContent(); }
  void SetContent(const Variant& value) override { inner_->SetContent(value); }
  std::string ContentType() override { return inner_->ContentType(); }
  std::vector<Ref<ConfigNode>> ConfigEntries() override;
  std::string Key() override { return inner_->Key(); }
  bool LoadFile(const std::string& path) override { return inner_->LoadFile(path); }
  bool AttachBranch(const Ref<ConfigNode>& branch, const std::string& parentKey) override;
  void Commit(const std::string& target) override { inner_->Commit(target); }

  [[nodiscard]] const Ref<ConfigNode>& Inner() const { return inner_; }

 private:
  [[nodiscard]] std::string Full(const std::string& keyPath) const;

  Ref<ConfigNode> inner_;
  std::string path_;
  std::shared_ptr<std::set<std::string>> missing_;
};

// A connector that hands out the wrapped root of another connector.
class RecordingConfigConnector : public ConfigConnector {
 public:
  explicit RecordingConfigConnector(Ref<ConfigConnector> inner);
  Ref<ConfigNode> RootNode() override;
  std::string ConfigFileName() override { return inner_->ConfigFileName(); }
  std::string Componant() override { return inner_->Componant(); }
  std::string Version() override { return inner_->Version(); }

  // The keys asked for and not found, from the root, in order of their text.
  std::shared_ptr<std::set<std::string>> missing = std::make_shared<std::set<std::string>>();

 private:
  Ref<ConfigConnector> inner_;
};

}  // namespace vellix::test
