#pragma once

#include "platform/uikit/UIImage.h"

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

/// Tells what happens, line by line as it happens, and keeps the pictures for the page at the end. One
/// thread. A file or folder that cannot be written throws a std::runtime_error that names it.
class Story {
public:
    /// `now` gives the seconds that are printed before each line, counted from the first question.
    Story(std::filesystem::path folder, std::function<double()> now);

    void chapter(const std::string& title);
    void tell(const std::string& line);
    /// Something that has to be so. Answers it, and remembers when it is not.
    bool expect(bool holds, const std::string& line);
    /// Writes a picture and shows it on the page beside the last line.
    void picture(const UIImage& image, const std::string& name);
    /// Writes text beside the pictures and links it from the page.
    void document(const std::string& fileName, const std::string& content);

    /// Rows under a header, as many cells each.
    void table(const std::vector<std::string>& header, const std::vector<std::vector<std::string>>& rows);

    size_t failures() const { return m_failures; }
    /// Writes index.html.
    void writePage() const;

private:
    enum class Kind { Chapter, Line, Met, Failed, Picture, Document, Table };
    struct Entry {
        Kind kind;
        double time;
        std::string text;
    };
    void add(Kind kind, const std::string& text, std::string_view mark);
    void write(const std::string& fileName, std::string_view content) const;

    std::filesystem::path m_folder;
    std::function<double()> m_now;
    double m_start;
    std::vector<Entry> m_entries;
    size_t m_failures { 0 };
};

/// Text as it stands in an HTML page.
std::string htmlEscaped(std::string_view text);

} // namespace lumora
