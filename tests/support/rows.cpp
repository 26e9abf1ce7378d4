#include "rows.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>

namespace ZelkTest {

namespace {

/// The character behind a backslash at `at`, which is moved to its end.
char Unescape(const std::string& line, std::size_t& at) {
    switch (const char character = line.at(++at)) {
    case 'n':
        return '\n';
    case 'x':
        at += 2;
        return static_cast<char>(std::stoul(line.substr(at - 1, 2), nullptr, 16));
    default:
        return character;
    }
}

std::vector<std::string> Split(const std::string& line) {
    std::vector<std::string> fields;
    std::size_t at = 0;
    do {
        at = std::min(line.find_first_not_of(' ', at), line.size());
        std::string& field = fields.emplace_back();
        if (line[at] == '"') {
            while (line.at(++at) != '"') {
                field += line[at] == '\\' ? Unescape(line, at) : line[at];
            }
            at = std::min(line.find('|', at), line.size());
        } else {
            const std::size_t end = std::min(line.find('|', at), line.size());
            field = line.substr(at, end - at);
            field.erase(field.find_last_not_of(' ') + 1);
            at = end;
        }
    } while (at++ < line.size());
    return fields;
}

} // namespace

std::uint64_t Row::Number(std::size_t field) const {
    std::size_t read = 0;
    const std::uint64_t number = std::stoull(Text(field), &read, 0);
    EXPECT_EQ(read, Text(field).size()) << m_where << ": no number: " << Text(field);
    return number;
}

std::vector<unsigned char> Row::Bytes(std::size_t field) const {
    std::vector<unsigned char> bytes;
    for (std::size_t at = 0; at < Text(field).size(); at += 2) {
        bytes.push_back(static_cast<unsigned char>(std::stoul(Text(field).substr(at, 2), nullptr, 16)));
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
