#pragma once

#include "platform/foundation/Value.h"

#include <filesystem>

namespace lumora {

// Files, without exceptions: what fails answers false or nothing. Any thread; two writers of one file are the
// callers' affair.

/// The home folder of the current process.
std::filesystem::path NSHomeDirectory();
/// Opens a file that exists and writes at its end. False when it does not open; a write that fails is silent
/// and leaves what the file held, with a part of the text or none.
bool appendToFile(const std::filesystem::path& path, std::string_view text);
/// Creates or empties the file and writes it; a missing folder is made.
bool writeToFile(const std::filesystem::path& path, std::string_view text);
/// Writes a new file that only its owner may read, then puts it in the place of the former one. A failure
/// leaves that as it is.
bool replaceFile(const std::filesystem::path& path, const std::vector<std::string_view>& parts);
/// Nothing when the file is missing, is a folder, or cannot be read.
std::optional<NSData> contentsOfFile(const std::filesystem::path& path);
/// The same; the error is set when there is a file that cannot be read, which another time it might.
std::optional<NSData> contentsOfFile(const std::filesystem::path& path, std::error_code& error);
void removeFile(const std::filesystem::path& path);

} // namespace lumora
