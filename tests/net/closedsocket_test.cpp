// A call on a handle that is no socket: one that answers success, the wrong error, or something in its outputs.
#include <cstring>
#include <gtest/gtest.h>
#include <zelk_core/base/lifecycle.h>
#include <zelk_core/net/berkeleysocket.h>

using Z4::BerkeleySocket;

namespace {

using Reads = bool (*)(bool&, long, unsigned long&);
using Counts = bool (*)(unsigned long&, long, unsigned long&);
using Sets = bool (*)(bool, long, unsigned long&);
using Sizes = bool (*)(unsigned long, long, unsigned long&);

constexpr long CLOSED = -1;

class ClosedSocketTest : public testing::Test {
protected:
    void ExpectRefused(bool succeeded, int row) {
        EXPECT_FALSE(succeeded) << "row " << row;
        EXPECT_EQ(m_error, static_cast<unsigned long>(Z4::ERR_INVALID)) << "row " << row;
        m_error = Z4::ERR_OK;
    }

    unsigned long m_error = Z4::ERR_OK;
};

TEST_F(ClosedSocketTest, RefusesEveryOption) {
    int row = 0;
    for (const Sets set : {BerkeleySocket::SetBlocking, BerkeleySocket::SetReuseAddr, BerkeleySocket::SetBroadCast,
                           BerkeleySocket::SetNagleOnOff, BerkeleySocket::SetLingerOnOff}) {
        ExpectRefused(set(true, CLOSED, m_error), row++);
    }
    for (const Sizes set :
         {BerkeleySocket::SetSendBufSize, BerkeleySocket::SetReceiveBufSize, BerkeleySocket::SetLingerSeconds}) {
        ExpectRefused(set(5, CLOSED, m_error), row++);
    }
    for (const Reads read : {BerkeleySocket::GetReuseAddr, BerkeleySocket::GetBroadCast, BerkeleySocket::GetNagleOnOff,
                             BerkeleySocket::GetLingerOnOff}) {
        bool value = true;
        ExpectRefused(read(value, CLOSED, m_error), row++);
        EXPECT_TRUE(value);
    }
    for (const Counts read : {BerkeleySocket::GetSendBufSize, BerkeleySocket::GetReceiveBufSize,
                              BerkeleySocket::GetLingerSeconds, BerkeleySocket::GetPendingDataCount}) {
        unsigned long value = 77;
        ExpectRefused(read(value, CLOSED, m_error), row++);
        EXPECT_EQ(value, 77UL);
    }
}

TEST_F(ClosedSocketTest, RefusesEveryOperation) {
    Z4::SocketAddr peer;
    const Z4::SocketAddr before = peer;
    char byte = 'b';
    long handle = CLOSED;
    EXPECT_FALSE(BerkeleySocket::Close(handle, m_error)); // with the system's own idea of the error
    ExpectRefused(BerkeleySocket::Listen(1, CLOSED, m_error), 1);
    ExpectRefused(BerkeleySocket::Shutdown(BerkeleySocket::SHUTDOWN_BOTH, CLOSED, m_error), 2);
    ExpectRefused(BerkeleySocket::Accept(peer, CLOSED, m_error) >= 0, 3);
    ExpectRefused(BerkeleySocket::Send(&byte, 1, CLOSED, m_error) >= 0, 4);
    ExpectRefused(BerkeleySocket::Receive(&byte, 1, CLOSED, m_error) >= 0, 5);
    ExpectRefused(BerkeleySocket::ReceiveFrom(peer, &byte, 1, CLOSED, m_error) >= 0, 6);
    EXPECT_EQ(std::memcmp(&peer, &before, sizeof peer), 0);
    EXPECT_EQ(byte, 'b');
}

} // namespace
