#include <BAS/BAS_Interrupt.h>

std::atomic<bool> BAS_Interrupt::theFlag{false};
