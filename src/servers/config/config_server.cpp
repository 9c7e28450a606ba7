#include "servers/config/config_server.h"

#include <cstdio>
#include <system_error>
#include <utility>
#include <vector>

#include "servers/config/atomic_file.h"
#include "servers/config/config_xml.h"

namespace vellix {

namespace {

constexpr const char* kComponants = "Componants";

}  // namespace

ConfigServer::ConfigServer(std::filesystem::path treeFile, std::filesystem::path seedFile)
    : treeFile_(std::move(treeFile)), seedFile_(std::move(seedFile)) {}

bool ConfigServer::Fail(std::string error) {
  openError_ = std::move(error);
  std::fprintf(stderr, "vellix config server: %s\n", openError_.c_str());
  return false;
}

bool ConfigServer::Open() {
  if (root_) return true;
  std::error_code ec;
  const auto folder = treeFile_.parent_path();
  if (!folder.empty()) {
    std::filesystem::create_directories(folder, ec);
    if (ec) return Fail("Unable to create the folder " + folder.string() + ": " + ec.message());
  }
  const bool exists = std::filesystem::exists(treeFile_, ec);
  if (ec) return Fail("Unable to look for " + treeFile_.string() + ": " + ec.message());

  std::vector<std::shared_ptr<ConfigTreeNode>> top;
  std::string error;
  if (exists) {
    // Only this process writes the tree file; what a killed commit left is junk.
    RemoveStaleTempFiles(treeFile_);
    if (!ReadConfigXmlFile(treeFile_, ConfigTreeNode::kMaxDepth, &top, &error)) {
      return Fail("The configuration tree is not loaded and its file is left untouched: " + error);
    }
  } else if (!seedFile_.empty() &&
             !ReadConfigXmlFile(seedFile_, ConfigTreeNode::kMaxDepth, &top, &error)) {
    return Fail("The starting configuration can't be read: " + error);
  }

  auto root = std::make_shared<ConfigTreeNode>(std::string(), ContentKind::Collection, Variant());
  for (const auto& node : top)
    root->Adopt(node);
  if (!root->FindChild(kComponants)) {
    root->Adopt(std::make_shared<ConfigTreeNode>(kComponants, ContentKind::Collection, Variant()));
  }
  root->SetCommitFile(treeFile_);
  root_ = std::move(root);
  openError_.clear();
  return true;
}

Ref<ConfigNode> ConfigServer::RootNode() {
  if (!Open()) return nullptr;
  return Ref<ConfigNode>(root_);
}

std::string ConfigServer::ConfigFileName() {
  return treeFile_.string();
}

std::string ConfigServer::Componant() {
  return "OVConfig";
}

std::string ConfigServer::Version() {
  return VELLIX_VERSION;
}

}  // namespace vellix
