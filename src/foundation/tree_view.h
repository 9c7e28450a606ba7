#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "foundation/control.h"

namespace vellix {

class TreeView;

// One node of a tree view. Its key is unique in the tree without regard to
// case; a node may have no key, and can then not be looked up.
class TreeNode {
 public:
  TreeNode(const TreeNode&) = delete;
  TreeNode& operator=(const TreeNode&) = delete;

  [[nodiscard]] const std::string& Key() const { return key_; }
  [[nodiscard]] const std::string& Text() const { return text_; }
  void Text(std::string value);
  [[nodiscard]] TreeNode* Parent() const { return parent_; }
  // The children in the order shown.
  [[nodiscard]] const std::vector<TreeNode*>& Children() const { return children_; }
  // Sorted children stand in the order of their texts without regard to
  // case; turning it on sorts the children there, and later children are
  // placed in order as they come (behind those of an equal text).
  [[nodiscard]] bool Sorted() const { return sorted_; }
  void Sorted(bool value);
  [[nodiscard]] bool Expanded() const { return expanded_; }
  void Expanded(bool value);
  // Selecting in code raises nothing.
  [[nodiscard]] bool Selected() const;
  void Selected(bool value);
  // The texts from the root down to this node, joined by the tree's
  // PathSeparator ("\" unless changed).
  [[nodiscard]] std::string FullPath() const;

 private:
  friend class TreeView;
  TreeNode(TreeView& tree, std::string key, std::string text);

  TreeView& tree_;
  std::string key_;
  std::string text_;
  TreeNode* parent_ = nullptr;
  std::vector<TreeNode*> children_;
  bool sorted_ = false;
  bool expanded_ = false;
};

// A tree of nodes. A key already in the tree raises 35602 ("Key is not
// unique in collection"), a relative key that isn't there 35601. A user's
// click on a node selects it and raises NodeClick, then Click; selecting in
// code raises neither.
class TreeView : public Control {
 public:
  enum class Relationship { First = 0, Last = 1, Next = 2, Previous = 3, Child = 4 };

  TreeView(Form& form, std::string name, std::string container = {});
  ~TreeView() override;

  // Adds a node placed by relationship to the node of the relative key. With
  // an empty relative key the node is a root (First puts it first, anything
  // else last). Under a sorted parent the node takes its place in order.
  TreeNode& Add(std::string_view relative, Relationship relationship, std::string key,
                std::string text);
  TreeNode& AddRoot(std::string key, std::string text) {
    return Add({}, Relationship::Last, std::move(key), std::move(text));
  }
  [[nodiscard]] TreeNode& Nodes(std::string_view key) const;
  // Removes the node with all below it.
  void Remove(std::string_view key);
  void Clear();
  [[nodiscard]] const std::vector<TreeNode*>& Roots() const { return roots_; }
  [[nodiscard]] TreeNode* SelectedItem() const { return selected_; }
  // Whether the roots are kept in order of their texts.
  [[nodiscard]] bool Sorted() const { return sorted_; }
  void Sorted(bool value);
  [[nodiscard]] const std::string& PathSeparator() const { return separator_; }
  void PathSeparator(std::string value);

  std::function<void(TreeNode& node)> NodeClick;

  bool UserClickNode(std::string_view key);
  // The user opens or closes a node.
  bool UserExpand(std::string_view key, bool expanded);

 protected:
  [[nodiscard]] bool CanFocus() const override { return true; }
  void ResetProperties() override;

 private:
  friend class TreeNode;

  [[nodiscard]] TreeNode* Lookup(std::string_view key) const;
  static void InsertSorted(std::vector<TreeNode*>& siblings, TreeNode* node);
  static void SortSiblings(std::vector<TreeNode*>& siblings);
  void Select(TreeNode* node);
  void Collect(TreeNode* node, std::vector<TreeNode*>& out) const;

  std::vector<std::unique_ptr<TreeNode>> nodes_;
  std::unordered_map<std::string, TreeNode*> byKey_;  // keys in lower case
  std::vector<TreeNode*> roots_;
  TreeNode* selected_ = nullptr;
  bool sorted_ = false;
  std::string separator_ = "\\";
};

}  // namespace vellix
