#include <iostream>

#include "gnss/platform/Clock.h"

int main() {
    std::cout << Corvane::Now.GetTimeDate().Print(0) << " UTC\n";
}
