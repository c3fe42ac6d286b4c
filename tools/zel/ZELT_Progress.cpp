#include "ZELT_Progress.h"

#include <cstdio>
#include <string>
#include <unistd.h>

ZELT_Progress::ZELT_Progress(const char *what, std::int64_t total)
    : myWhat(what), myTotal(total), myTerminalFlag(isatty(STDERR_FILENO) == 1),
      myNext(std::chrono::steady_clock::now() + std::chrono::milliseconds(500))
{}

ZELT_Progress::~ZELT_Progress()
{
    if (myDrawnFlag) {
        std::fputs("\r\033[K", stderr);
    }
}

void ZELT_Progress::advance(std::int64_t by)
{
    const std::int64_t done = myDone.fetch_add(by, std::memory_order_relaxed) + by;
    if (myTerminalFlag) {
        const std::unique_lock<std::mutex> lock(myLock, std::try_to_lock);
        if (lock && std::chrono::steady_clock::now() >= myNext) {
            draw(done);
        }
    }
}

void ZELT_Progress::draw(std::int64_t done)
{
    constexpr std::int64_t width = 30;
    const std::int64_t full = myTotal > 0 ? done * width / myTotal : 0;
    const std::string bar =
        std::string(std::size_t(full), '#') + std::string(std::size_t(width - full), '.');
    std::fprintf(stderr, "\r%s [%s] %lld of %lld", myWhat, bar.c_str(),
                 static_cast<long long>(done), static_cast<long long>(myTotal));
    std::fflush(stderr);
    myNext = std::chrono::steady_clock::now() + std::chrono::milliseconds(100);
    myDrawnFlag = true;
}
