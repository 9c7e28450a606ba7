// The configuration tree's file and the boot configuration (same format):
// whatever a file holds, reading it ends with a tree or a message, and a tree
// read is written back to a text that reads to the same tree.
#include "fuzz/fuzz_driver.h"
#include "servers/config/config_xml.h"

namespace {

std::string WriteAll(const std::vector<std::shared_ptr<vellix::ConfigTreeNode>>& nodes) {
  auto top = std::make_shared<vellix::ConfigTreeNode>("", vellix::ContentKind::Collection,
                                                      vellix::Variant());
  for (const auto& node : nodes)
    vellix::fuzz::Check(top->Adopt(node), "a key read twice", node->KeyText());
  return vellix::WriteConfigXml(*top);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using vellix::fuzz::Check;
  const std::string_view bytes = vellix::fuzz::Text(data, size);
  std::vector<std::shared_ptr<vellix::ConfigTreeNode>> nodes;
  std::string error;
  if (!vellix::ParseConfigXml(bytes, vellix::ConfigTreeNode::kMaxDepth, &nodes, &error)) {
    Check(!error.empty(), "a refused file without a message");
    return 0;
  }
  const std::string written = WriteAll(nodes);
  std::vector<std::shared_ptr<vellix::ConfigTreeNode>> again;
  Check(vellix::ParseConfigXml(written, vellix::ConfigTreeNode::kMaxDepth, &again, &error),
        "the written tree does not read back", error + "\n" + written);
  Check(WriteAll(again) == written, "the tree changed on its way through the file", written);
  return 0;
}
