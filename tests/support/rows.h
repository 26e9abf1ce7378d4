// Test data that is no code: the rows of tests/vectors/NAME. Fields stand between '|'; blanks around a field do not
// count, within quotes they do, and '|', too. In quotes \n, \\, \" and \xNN are as in C. A line that begins with '#' is
// a comment.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ZelkTest {

class Row {
public:
    Row(std::string where, std::vector<std::string> fields) : m_where(std::move(where)), m_fields(std::move(fields)) {}

    /// The file and the line, for messages.
    const std::string& Where() const { return m_where; }
    std::size_t Size() const { return m_fields.size(); }

    /// The fields, counted from 0; an unreadable one fails the test.
    const std::string& Text(std::size_t field) const { return m_fields.at(field); }
    /// In decimal, or with 0x in hexadecimal.
    std::uint64_t Number(std::size_t field) const;
    /// Of digits in pairs.
    std::vector<unsigned char> Bytes(std::size_t field) const;

private:
    std::string m_where;
    std::vector<std::string> m_fields;
};

/// All rows of a file, which fails the test when there is none.
std::vector<Row> Rows(const char* name);

} // namespace ZelkTest
