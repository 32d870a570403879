#pragma once

// What happened during a state integration step.
struct KtIntegrationStatus {
  // A joint reached (or passed and was held at) one of its limits.
  bool limitReached = false;
};
