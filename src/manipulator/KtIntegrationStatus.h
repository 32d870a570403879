#pragma once

// What happened during a state integration step.
struct KtIntegrationStatus {
  // A joint reached (or passed and was held at) one of its limits.
  bool limitReached = false;
  // A joint position, the base translation or the base orientation came out NaN or infinite
  // (a non-finite rate, or an infinite one over a zero step) and kept its previous value.
  bool nonFiniteRejected = false;
};
