#include "servers/config/config_server.h"

#include <cstdio>
#include <system_error>
#include <utility>
#include <vector>

#include "servers/common/file_trouble.h"
#include "servers/config/atomic_file.h"
#include "servers/config/config_xml.h"

namespace vellix {

namespace {

constexpr const char* kComponants = "Componants";

}  // namespace

ConfigServer::ConfigServer(std::filesystem::path treeFile, std::filesystem::path seedFile,
                           const Clock* clock)
    : treeFile_(std::move(treeFile)), seedFile_(std::move(seedFile)), clock_(clock) {}

bool ConfigServer::Fail(std::string error) {
  openError_ = std::move(error);
  std::fprintf(stderr, "vellix config server: %s\n", openError_.c_str());
  return false;
}

bool ConfigServer::Open() {
  if (root_) return true;
  std::error_code ec;
  const auto folder = treeFile_.parent_path();
  std::string error;
  if (!folder.empty() && !servers::FolderTakesFiles(folder, &error)) return Fail(error);
  const bool exists = std::filesystem::exists(treeFile_, ec);
  if (ec) return Fail("Unable to look for " + treeFile_.string() + ": " + ec.message());

  std::vector<std::shared_ptr<ConfigTreeNode>> top;
  bool fresh = !exists;
  if (exists) {
    // Only this process writes the tree file; what a killed commit left is junk.
    RemoveStaleTempFiles(treeFile_);
    std::string why;
    const auto size = std::filesystem::file_size(treeFile_, ec);
    if (!ec && size > kMaxConfigFileBytes) {
      why = "it is larger than the limit of " + std::to_string(kMaxConfigFileBytes) + " bytes";
    } else {
      std::string bytes;
      if (!ReadFileLimited(treeFile_, kMaxConfigFileBytes, &bytes, &error)) return Fail(error);
      if (!ParseConfigXml(bytes, ConfigTreeNode::kMaxDepth, &top, &why)) top.clear();
    }
    if (!why.empty()) {
      static const SystemClock machineTime;
      std::filesystem::path kept;
      if (!servers::MoveAside(treeFile_, (clock_ ? *clock_ : machineTime).Now(), &kept, &error)) {
        return Fail("The configuration tree " + treeFile_.string() + " can't be read (" + why +
                    ") and stays as it is: " + error);
      }
      notice_ = "The configuration tree " + treeFile_.string() + " could not be read: " + why +
                ".\nIt was moved aside to " + kept.string() +
                "; the control panel starts with a fresh configuration.";
      std::fprintf(stderr, "vellix config server: %s\n", notice_.c_str());
      fresh = true;
    }
  }
  if (fresh && !seedFile_.empty() &&
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
