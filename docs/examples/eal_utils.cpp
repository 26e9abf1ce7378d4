#include "examples.h"

//! [example]
class Loader : public Z4::EalThread {
public:
    Loader() : EalThread(Z4::EALId(Z4::EAL_ID_ZELK_CORE)) {} // the context that the host is asked for

    void Run() override { m_loaded.SetDone(); }
    bool WaitUntilLoaded() { return m_loaded.WaitWithTimeout(10'000); }

private:
    Z4::Event m_loaded{false, false, nullptr}; // neither signalled nor auto-reset, without a name
};

void ShowEalUtils() {
    Z4::InitializeEalUtils(); // starts the host's tables of files and threads
    {
        Loader loader;
        const Z4::Error created = loader.CreateThread();
        std::printf("created: %s\n", Z4::GetErrorString(created));
        std::printf("%s\n", loader.WaitUntilLoaded() ? "loaded" : "still at it");
        std::printf("joined: %s\n", Z4::GetErrorString(loader.JoinThread()));
    }
    Z4::ShutdownEalUtils();
}
//! [example]
