#include <KIT/KIT_Prime.h>

#include <cstdint>

static bool isPrime(size_t number)
{
    if (number < 4) {
        return number >= 2;
    }
    if (number % 2 == 0 || number % 3 == 0) {
        return false;
    }
    for (size_t factor = 5; factor <= number / factor; factor += 6) {
        if (number % factor == 0 || number % (factor + 2) == 0) {
            return false;
        }
    }
    return true;
}

size_t KITbumpAllocToPrime(size_t wanted)
{
    constexpr size_t theGreatestPrime = static_cast<size_t>(UINT64_C(18446744073709551557));
    if (wanted >= theGreatestPrime) {
        return theGreatestPrime;
    }
    while (!isPrime(wanted)) {
        ++wanted;
    }
    return wanted;
}
