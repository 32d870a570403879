#pragma once

#include <cstdint>

// A process-wide count of changes to manipulator models: every setter of a link's
// kinematics, of a manipulator's placement and every change of a link tree advances it.
// Cached link frames remember the count they were computed at and are thrown away when
// it has moved on, so a frame computed before a change can never be returned after it.
// One counter for all models keeps the check to a single comparison per query; a change
// anywhere only costs a recomputation elsewhere, never a wrong answer. The toolkit is
// used from one thread, so the counter needs no synchronisation.
class KtModelRevision {
 public:
  static std::uint64_t current() { return s_revision; }
  static void advance() { ++s_revision; }

 private:
  static inline std::uint64_t s_revision = 1;
};
