#include "support/popup/recording_config.h"

#include <utility>

namespace vellix::test {

RecordingConfigNode::RecordingConfigNode(Ref<ConfigNode> inner, std::string path,
                                         std::shared_ptr<std::set<std::string>> missing)
    : inner_(std::move(inner)), path_(std::move(path)), missing_(std::move(missing)) {}

std::string RecordingConfigNode::Full(const std::string& keyPath) const {
  if (path_.empty()) return keyPath;
  if (keyPath.empty()) return path_;
  return path_ + "." + keyPath;
}

Variant RecordingConfigNode::GetValue(const std::string& keyPath) {
  if (!keyPath.empty() && inner_->GetNode(keyPath, false, "", Variant()).IsNothing()) {
    missing_->insert(Full(keyPath));
  }
  return inner_->GetValue(keyPath);
}

Ref<ConfigNode> RecordingConfigNode::GetNode(const std::string& keyPath, bool create,
                                             const std::string& contentType,
                                             const Variant& defaultValue) {
  Ref<ConfigNode> node = inner_->GetNode(keyPath, create, contentType, defaultValue);
  if (node.IsNothing()) {
    if (!create) missing_->insert(Full(keyPath));
    return nullptr;
  }
  return MakeRef<RecordingConfigNode>(node, Full(keyPath), missing_);
}

std::vector<Ref<ConfigNode>> RecordingConfigNode::ConfigEntries() {
  std::vector<Ref<ConfigNode>> out;
  for (auto& entry : inner_->ConfigEntries()) {
    out.push_back(MakeRef<RecordingConfigNode>(entry, Full(entry->Key()), missing_));
  }
  return out;
}

bool RecordingConfigNode::AttachBranch(const Ref<ConfigNode>& branch,
                                       const std::string& parentKey) {
  auto* wrapped = dynamic_cast<RecordingConfigNode*>(branch.Shared().get());
  return inner_->AttachBranch(wrapped != nullptr ? wrapped->Inner() : branch, parentKey);
}

RecordingConfigConnector::RecordingConfigConnector(Ref<ConfigConnector> inner)
    : inner_(std::move(inner)) {}

Ref<ConfigNode> RecordingConfigConnector::RootNode() {
  Ref<ConfigNode> root = inner_->RootNode();
  if (root.IsNothing()) return nullptr;
  return MakeRef<RecordingConfigNode>(root, "", missing);
}

}  // namespace vellix::test
