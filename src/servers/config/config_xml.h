#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "servers/config/config_tree_node.h"

// The XML form of the configuration tree (docs/config-xml.md):
//
//   <config version="1">
//     <node key="CommonFormat" type="Collection">
//       <node key="RowHeight" type="Integer">375</node>
//     </node>
//   </config>
//
// Keys live in an attribute, so any key text round-trips.
namespace vellix {

// Larger files are refused unread: a real tree is a few hundred kilobytes.
inline constexpr std::size_t kMaxConfigFileBytes = std::size_t{8} << 20;
// More nodes than this in one file are refused.
inline constexpr std::size_t kMaxConfigNodes = 100000;

// Parses a tree file's bytes into detached nodes, the children of <config>,
// at most maxDepth levels deep. Refuses a document type declaration, so no
// entity is ever defined or expanded. False, with a message naming the line,
// when the text isn't a valid tree.
bool ParseConfigXml(std::string_view bytes, int maxDepth,
                    std::vector<std::shared_ptr<ConfigTreeNode>>* nodes, std::string* error);

// Reads and parses a tree file, refusing one over kMaxConfigFileBytes.
bool ReadConfigXmlFile(const std::filesystem::path& path, int maxDepth,
                       std::vector<std::shared_ptr<ConfigTreeNode>>* nodes, std::string* error);

// The file text of a node's children.
std::string WriteConfigXml(const ConfigTreeNode& top);

// A leaf's value as the file writes it, and back. Dates are written as
// yyyy-mm-ddThh:nn:ss when that is exact, otherwise as their day count.
std::string ContentText(const Variant& value, ContentKind kind);
bool ParseContentText(std::string_view text, ContentKind kind, Variant* value);

}  // namespace vellix
