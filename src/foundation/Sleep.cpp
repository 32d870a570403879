#include "foundation/Sleep.h"

#include <chrono>
#include <thread>

void KtSLEEPMS(unsigned long milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}
