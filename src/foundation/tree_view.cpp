#include "foundation/tree_view.h"

#include <algorithm>
#include <utility>

#include "foundation/text.h"
#include "foundation/vb_error.h"

namespace vellix {

TreeNode::TreeNode(TreeView& tree, std::string key, std::string text)
    : tree_(tree), key_(std::move(key)), text_(std::move(text)) {}

void TreeNode::Text(std::string value) {
  if (SetProperty(text_, std::move(value))) tree_.Changed("Nodes");
}

void TreeNode::Sorted(bool value) {
  if (!SetProperty(sorted_, value)) return;
  if (sorted_) TreeView::SortSiblings(children_);
  tree_.Changed("Nodes");
}

void TreeNode::Expanded(bool value) {
  if (SetProperty(expanded_, value)) tree_.Changed("Expanded");
}

bool TreeNode::Selected() const {
  return tree_.selected_ == this;
}

void TreeNode::Selected(bool value) {
  if (value) {
    tree_.Select(this);
  } else if (Selected()) {
    tree_.Select(nullptr);
  }
}

std::string TreeNode::FullPath() const {
  std::vector<const std::string*> texts;
  size_t length = 0;
  for (const TreeNode* n = this; n != nullptr; n = n->parent_) {
    texts.push_back(&n->text_);
    length += n->text_.size() + tree_.separator_.size();
  }
  std::string path;
  path.reserve(length);
  for (auto it = texts.rbegin(); it != texts.rend(); ++it) {
    if (it != texts.rbegin()) path.append(tree_.separator_);
    path.append(**it);
  }
  return path;
}

TreeView::TreeView(Form& form, std::string name, std::string container)
    : Control(form, ControlKind::TreeView, std::move(name), std::move(container)) {}

TreeView::~TreeView() = default;

TreeNode& TreeView::Add(std::string_view relative, Relationship relationship, std::string key,
                        std::string text) {
  TreeNode* anchor = nullptr;
  if (!relative.empty()) {
    anchor = Lookup(relative);
    if (anchor == nullptr) RaiseControlError(ctlerr::kElementNotFound);
  }
  if (!key.empty() && Lookup(key) != nullptr) throw VbError(err::kKeyNotUnique);

  nodes_.push_back(std::unique_ptr<TreeNode>(new TreeNode(*this, std::move(key), std::move(text))));
  TreeNode* node = nodes_.back().get();
  if (!node->key_.empty()) byKey_[LCase(node->key_)] = node;

  TreeNode* parent = nullptr;
  if (anchor != nullptr) parent = relationship == Relationship::Child ? anchor : anchor->parent_;
  node->parent_ = parent;
  auto& siblings = parent != nullptr ? parent->children_ : roots_;
  const bool sorted = parent != nullptr ? parent->sorted_ : sorted_;
  if (sorted) {
    InsertSorted(siblings, node);
  } else if (anchor == nullptr) {
    siblings.insert(relationship == Relationship::First ? siblings.begin() : siblings.end(), node);
  } else if (relationship == Relationship::First) {
    siblings.insert(siblings.begin(), node);
  } else if (relationship == Relationship::Next || relationship == Relationship::Previous) {
    auto at = std::find(siblings.begin(), siblings.end(), anchor);
    if (relationship == Relationship::Next && at != siblings.end()) ++at;
    siblings.insert(at, node);
  } else {
    siblings.push_back(node);
  }
  Changed("Nodes");
  return *node;
}

TreeNode& TreeView::Nodes(std::string_view key) const {
  TreeNode* node = Lookup(key);
  if (node == nullptr) RaiseControlError(ctlerr::kElementNotFound);
  return *node;
}

void TreeView::Remove(std::string_view key) {
  TreeNode* node = Lookup(key);
  if (node == nullptr) RaiseControlError(ctlerr::kElementNotFound);
  auto& siblings = node->parent_ != nullptr ? node->parent_->children_ : roots_;
  std::erase(siblings, node);
  std::vector<TreeNode*> gone;
  Collect(node, gone);
  for (TreeNode* n : gone) {
    if (n == selected_) selected_ = nullptr;
    if (!n->key_.empty()) byKey_.erase(LCase(n->key_));
  }
  std::erase_if(nodes_, [&gone](const std::unique_ptr<TreeNode>& n) {
    return std::find(gone.begin(), gone.end(), n.get()) != gone.end();
  });
  Changed("Nodes");
}

void TreeView::Clear() {
  selected_ = nullptr;
  roots_.clear();
  byKey_.clear();
  nodes_.clear();
  Changed("Nodes");
  Changed("SelectedItem");
}

void TreeView::Sorted(bool value) {
  if (!SetProperty(sorted_, value)) return;
  if (sorted_) SortSiblings(roots_);
  Changed("Nodes");
}

void TreeView::PathSeparator(std::string value) {
  if (SetProperty(separator_, std::move(value))) Changed("PathSeparator");
}

bool TreeView::UserClickNode(std::string_view key) {
  TreeNode* node = Lookup(key);
  if (node == nullptr || !BeginUserAction()) return false;
  Select(node);
  Fire(NodeClick, *node);
  Fire(Click);
  return true;
}

bool TreeView::UserExpand(std::string_view key, bool expanded) {
  TreeNode* node = Lookup(key);
  if (node == nullptr || !BeginUserAction()) return false;
  node->Expanded(expanded);
  return true;
}

void TreeView::ResetProperties() {
  selected_ = nullptr;
  roots_.clear();
  byKey_.clear();
  nodes_.clear();
  sorted_ = false;
  separator_.assign(1, '\\');
}

TreeNode* TreeView::Lookup(std::string_view key) const {
  if (key.empty()) return nullptr;
  auto it = byKey_.find(LCase(key));
  return it == byKey_.end() ? nullptr : it->second;
}

void TreeView::InsertSorted(std::vector<TreeNode*>& siblings, TreeNode* node) {
  auto at = std::find_if(siblings.begin(), siblings.end(), [node](const TreeNode* s) {
    return CompareText(s->text_, node->text_) > 0;
  });
  siblings.insert(at, node);
}

void TreeView::SortSiblings(std::vector<TreeNode*>& siblings) {
  std::stable_sort(siblings.begin(), siblings.end(), [](const TreeNode* a, const TreeNode* b) {
    return CompareText(a->text_, b->text_) < 0;
  });
}

void TreeView::Select(TreeNode* node) {
  if (SetProperty(selected_, node)) Changed("SelectedItem");
}

void TreeView::Collect(TreeNode* node, std::vector<TreeNode*>& out) const {
  out.push_back(node);
  for (TreeNode* child : node->children_)
    Collect(child, out);
}

}  // namespace vellix
