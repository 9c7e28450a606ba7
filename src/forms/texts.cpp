#include "forms/texts.h"

#include "foundation/config_node.h"
#include "foundation/context.h"

namespace vellix {

std::string BranchText(const Context& ctx, std::string_view suffix) {
  return ctx.rootNode->GetValue(std::string(kBranch).append(suffix)).ToString();
}

}  // namespace vellix
