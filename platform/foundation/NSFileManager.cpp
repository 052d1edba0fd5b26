#include "platform/foundation/NSFileManager.h"

#include "platform/process/Process.h"

#include <fstream>

namespace lumora {

namespace fs = std::filesystem;

namespace {

bool writeAndClose(std::ofstream& file, const std::vector<std::string_view>& parts)
{
    for (const std::string_view part : parts)
        file.write(part.data(), static_cast<std::streamsize>(part.size()));
    file.close();
    return file.good();
}

std::ofstream openEmpty(const fs::path& path)
{
    constexpr auto mode = std::ios::binary | std::ios::trunc;
    std::ofstream file(path, mode);
    if (!file.is_open()) {
        std::error_code ignored;
        fs::create_directories(path.parent_path(), ignored);
        file.open(path, mode);
    }
    return file;
}

} // namespace

fs::path NSHomeDirectory() { return Process::current().configuration().home; }

bool appendToFile(const fs::path& path, std::string_view text)
{
    std::error_code error;
    if (!fs::exists(path, error))
        return false;
    std::ofstream file(path, std::ios::binary | std::ios::app);
    if (file.is_open())
        file.write(text.data(), static_cast<std::streamsize>(text.size()));
    return file.is_open();
}

bool writeToFile(const fs::path& path, std::string_view text)
{
    std::ofstream file = openEmpty(path);
    return file.is_open() && writeAndClose(file, { text });
}

bool replaceFile(const fs::path& path, const std::vector<std::string_view>& parts)
{
    fs::path fresh = path;
    fresh += ".new";
    std::error_code error;
    // What a killed process left behind may have any mode, or be no file.
    fs::remove(fresh, error);
    std::ofstream file = openEmpty(fresh);
    if (!file.is_open())
        return false;
    // Closed to others before the first byte is in it.
    fs::permissions(fresh, fs::perms::owner_read | fs::perms::owner_write, error);
    if (!error && writeAndClose(file, parts))
        fs::rename(fresh, path, error);
    else if (!error)
        error = std::make_error_code(std::errc::io_error);
    if (!error)
        return true;
    std::error_code ignored;
    fs::remove(fresh, ignored);
    return false;
}

std::optional<NSData> contentsOfFile(const fs::path& path)
{
    std::error_code ignored;
    return contentsOfFile(path, ignored);
}

std::optional<NSData> contentsOfFile(const fs::path& path, std::error_code& error)
{
    const fs::file_status status = fs::status(path, error);
    if (!fs::is_regular_file(status)) {
        if (status.type() != fs::file_type::none)
            error.clear();
        return std::nullopt;
    }
    std::ifstream file(path, std::ios::binary);
    NSData data;
    const auto size = fs::file_size(path, error);
    if (!file.is_open())
        error = std::make_error_code(std::errc::io_error);
    if (error)
        return std::nullopt;
    data.bytes.resize(size);
    file.read(reinterpret_cast<char*>(data.bytes.data()), static_cast<std::streamsize>(data.bytes.size()));
    if (file.bad()) {
        error = std::make_error_code(std::errc::io_error);
        return std::nullopt;
    }
    // A file that shrank meanwhile.
    data.bytes.resize(static_cast<size_t>(file.gcount()));
    return data;
}

void removeFile(const fs::path& path)
{
    std::error_code ignored;
    if (!path.empty())
        fs::remove(path, ignored);
}

} // namespace lumora
