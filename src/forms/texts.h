#pragma once

#include <string>
#include <string_view>

namespace vellix {

struct Context;

// The text of a key below the control panel's branch, as the form's texts
// are read: "" where the tree holds no such key.
std::string BranchText(const Context& ctx, std::string_view suffix);

}  // namespace vellix
