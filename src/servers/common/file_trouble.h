#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "foundation/date.h"

// What the servers do with the files the user's settings live in when
// something is wrong with them.
namespace vellix::servers {

// Moves a file that can't be read out of the way, to
// NAME.corrupt-yyyymmdd-hhnnss beside it ("-2", "-3" ... after that when the
// name is taken), so the server can start afresh and nothing the user had is
// lost. Never replaces a file. False, with error set, when it can't be moved.
bool MoveAside(const std::filesystem::path& file, Date now, std::filesystem::path* kept,
               std::string* error);

// "line L, column C" of a byte offset into a text.
std::string LineAndColumn(std::string_view text, std::size_t offset);

// Whether a file can be made in the folder (made when missing): a settings
// folder that can't take a file makes its server unusable. False, with a
// reason naming the folder, when it can't.
bool FolderTakesFiles(const std::filesystem::path& folder, std::string* error);

}  // namespace vellix::servers
