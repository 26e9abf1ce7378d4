#include "examples.h"

//! [example]
class Adder : public Z4::Thread {
public:
    Adder(long& sum, Z4::AdaptiveLock& lock) : m_sum(sum), m_lock(lock) {}

    void Run() override {
        for (int i = 0; i < 1000; ++i) {
            const Z4::AutoLock<Z4::AdaptiveLock> guard(m_lock);
            ++m_sum;
        }
    }

private:
    long& m_sum;
    Z4::AdaptiveLock& m_lock;
};

void ShowOs() {
    long sum = 0;
    Z4::AdaptiveLock lock;
    Adder adders[] = {{sum, lock}, {sum, lock}, {sum, lock}};
    for (Adder& adder : adders) {
        if (adder.CreateThread() != Z4::ERR_OK) {
            std::puts("no thread");
        }
    }
    for (Adder& adder : adders) {
        std::printf("%s\n", Z4::GetErrorString(adder.JoinThread()));
    }
    std::printf("%ld\n", sum); // 3000: nothing was lost
}
//! [example]
