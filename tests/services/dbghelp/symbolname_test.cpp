// Short names. Hunted are parts that are lost, doubled or taken from arguments, and texts that overrun their room.
#include <gtest/gtest.h>
#include <string>
#include <tests/support/rows.h>
#include <zelk_core/services/dbghelp/symbolhandler.h>

namespace {

TEST(SymbolName, IsTheQualifiedNameWithoutArguments) {
    for (const ZelkTest::Row& row : ZelkTest::Rows("symbolnames.txt")) {
        SCOPED_TRACE(row.Where());
        const std::string name = row.Text(0);
        const std::string expected = row.Size() == 1 ? name : row.Text(1);
        for (unsigned long size = 0; size < expected.size() + 2; ++size) {
            std::string room(size + 1, '#');
            ASSERT_EQ(Z4::SymbolHandler::DemangleQuick(name.c_str(), room.data(), size), expected.size());
            ASSERT_EQ(room[size], '#');
            ASSERT_TRUE(size == 0 || room.c_str() == expected.substr(0, size - 1)) << room.c_str();
        }
    }
}

} // namespace
