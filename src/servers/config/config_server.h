#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "foundation/config_node.h"
#include "servers/config/config_tree_node.h"

namespace vellix {

// The configuration server: owns the tree and the file it lives in, and is
// the connector the control panel attaches through.
//
//   auto server = MakeRef<ConfigServer>(paths.ConfigTreeFile(), resources / "CommonFormat.xml");
//   Ref<ConfigNode> root = server->RootNode();  // nothing when the tree can't be opened
class ConfigServer final : public ConfigConnector {
 public:
  // seedFile is what a first start (no tree file yet) begins with: the
  // shared CommonFormat branch. An empty seedFile starts an empty tree.
  ConfigServer(std::filesystem::path treeFile, std::filesystem::path seedFile);

  // Loads the tree from its file; on a first start, from the seed, with an
  // empty "Componants" collection to graft components into. A tree file that
  // is there but can't be read is left as it is and the server stays closed,
  // so a damaged file is never overwritten. Nothing is written here.
  bool Open();
  [[nodiscard]] const std::string& OpenError() const { return openError_; }

  // Opens on first use; nothing when the tree can't be opened.
  Ref<ConfigNode> RootNode() override;
  std::string ConfigFileName() override;
  std::string Componant() override;
  std::string Version() override;

  // The root, or null while closed.
  [[nodiscard]] const std::shared_ptr<ConfigTreeNode>& Root() const { return root_; }

 private:
  bool Fail(std::string error);

  std::filesystem::path treeFile_;
  std::filesystem::path seedFile_;
  std::shared_ptr<ConfigTreeNode> root_;
  std::string openError_;
};

}  // namespace vellix
