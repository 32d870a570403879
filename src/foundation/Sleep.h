#pragma once

// Blocks the calling thread for the given number of milliseconds.
void KtSLEEPMS(unsigned long milliseconds);
