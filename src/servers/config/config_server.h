#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "foundation/config_node.h"
#include "foundation/date.h"
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
  // clock names the copy of a tree file that can't be read (the machine's
  // time when null).
  ConfigServer(std::filesystem::path treeFile, std::filesystem::path seedFile,
               const Clock* clock = nullptr);

  // Loads the tree from its file; on a first start, from the seed, with an
  // empty "Componants" collection to graft components into. A tree file
  // whose content can't be read is moved aside (never overwritten), Notice()
  // says so, and the tree starts as on a first start. A folder that can't
  // take the file, or a file that can't be opened, keeps the server closed
  // and OpenError() says why. Nothing is written here.
  bool Open();
  [[nodiscard]] const std::string& OpenError() const { return openError_; }
  // What the user must be told about the tree file, once opened: empty, or
  // which file could not be read, why, and where it went.
  [[nodiscard]] const std::string& Notice() const { return notice_; }

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
  const Clock* clock_;
  std::shared_ptr<ConfigTreeNode> root_;
  std::string openError_;
  std::string notice_;
};

}  // namespace vellix
