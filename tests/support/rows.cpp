#include "rows.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <utility>

namespace ZelkTest {

namespace {

std::string Trim(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

/// The character behind a backslash at `at`, which is moved to its end.
char Unescape(const std::string& line, std::size_t& at) {
    switch (const char character = line.at(++at)) {
    case 'n':
        return '\n';
    case 'x':
        at += 2;
        return static_cast<char>(std::strtoul(line.substr(at - 1, 2).c_str(), nullptr, 16));
    default:
        return character;
    }
}

std::vector<std::string> Split(const std::string& line) {
    std::vector<std::string> fields(1);
    bool quoted = false;
    bool wasQuoted = false;
    for (std::size_t at = 0; at < line.size(); ++at) {
        if (line[at] == '"') {
            quoted = !quoted;
            fields.back() = wasQuoted ? fields.back() : ""; // drops the blanks before
            wasQuoted = true;
        } else if (quoted) {
            fields.back() += line[at] == '\\' ? Unescape(line, at) : line[at];
        } else if (line[at] == '|') {
            fields.back() = wasQuoted ? fields.back() : Trim(fields.back());
            fields.emplace_back();
            wasQuoted = false;
        } else if (!wasQuoted) {
            fields.back() += line[at];
        }
    }
    fields.back() = wasQuoted ? fields.back() : Trim(fields.back());
    return fields;
}

} // namespace

Row::Row(std::string where, std::vector<std::string> fields) : m_where(std::move(where)), m_fields(std::move(fields)) {}

std::string Row::Text(std::size_t field) const {
    if (field >= m_fields.size()) {
        ADD_FAILURE() << m_where << " has no field " << field;
        return {};
    }
    return m_fields[field];
}

std::uint64_t Row::Number(std::size_t field) const {
    const std::string text = Text(field);
    char* end = nullptr;
    const std::uint64_t number = std::strtoull(text.c_str(), &end, 0);
    EXPECT_TRUE(!text.empty() && *end == '\0') << m_where << ": no number: " << text;
    return number;
}

std::vector<unsigned char> Row::Bytes(std::size_t field) const {
    const std::string text = Text(field);
    EXPECT_TRUE(text.size() % 2 == 0 && text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos)
        << m_where << ": no pairs of digits: " << text;
    std::vector<unsigned char> bytes;
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        bytes.push_back(static_cast<unsigned char>(std::strtoul(text.substr(at, 2).c_str(), nullptr, 16)));
    }
    return bytes;
}

std::vector<Row> Rows(const char* name) {
    std::ifstream file(std::string(ZELK_VECTORS "/") + name, std::ios::binary);
    std::vector<Row> rows;
    std::string line;
    for (unsigned number = 1; std::getline(file, line); ++number) {
        if (!line.empty() && line[0] != '#') {
            rows.emplace_back(name + (":" + std::to_string(number)), Split(line));
        }
    }
    EXPECT_FALSE(rows.empty()) << "no rows in " << name;
    return rows;
}

} // namespace ZelkTest
