// A host program as a customer would write one: it loads libkt.so at run time with dlopen and
// sees nothing of the library but its installed headers. It drives the sample arm's flange around
// a circle 10 cm across in 4 s at 1 kHz with the orientation held, then commands a pose far out of
// reach and watches the arm stop at the edge of its workspace. It prints a summary, writes a CSV
// of the run and, when gnuplot is installed, a PNG plot of joint positions and tracking error.
// Usage: kt-host [libkt.so [data directory [output directory]]]
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <new>
#include <numbers>
#include <string>
#include <vector>

#include "control/controlInterface.h"

namespace {

using Pose = Kt::coordinateSystemTransformation;

// The members the host calls that are neither inline nor virtual, resolved by symbol name. A
// library has no link-time stub for them here, so each becomes a function pointer that takes the
// object as its first argument, as the platform's C++ calling convention passes `this`. Virtual
// members (initializeAll, setDesiredEndEffectorPose, the destructor) go through the vtable that
// the constructor installs.
struct EntryPoints {
  void (*construct)(void* object) = nullptr;
  void (*turnOffRendering)(Kt::baseControlInterface* self) = nullptr;
  bool (*calculate)(Kt::baseControlInterface* self, double time, std::vector<double>& values,
                    std::vector<double>& rates) = nullptr;
  bool (*lastActualPose)(const Kt::baseControlInterface* self, Pose& pose) = nullptr;
  bool (*propagationResults)(const Kt::baseControlInterface* self,
                             KtPropagationResultData& results) = nullptr;

  // False, after naming the first missing symbol, when the library lacks one.
  bool resolve(void* library) {
    const struct {
      const char* symbol;
      const char* meaning;
      void* slot;
    } table[] = {
        {"_ZN5orlix16controlInterfaceC1Ev", "orlix::controlInterface::controlInterface()", &construct},
        {"_ZN2Kt20baseControlInterface16turnOffRenderingEv", "turnOffRendering()", &turnOffRendering},
        {"_ZN2Kt20baseControlInterface31calculateNewJointValuesAndRatesEdRSt6vectorIdSaIdEES4_",
         "calculateNewJointValuesAndRates()", &calculate},
        {"_ZNK2Kt20baseControlInterface28getLastActualEndEffectorPoseERNS_30coordinateSystemTransformationE",
         "getLastActualEndEffectorPose()", &lastActualPose},
        {"_ZNK2Kt20baseControlInterface21getPropagationResultsER23KtPropagationResultData",
         "getPropagationResults()", &propagationResults},
    };
    for (const auto& entry : table) {
      void* address = dlsym(library, entry.symbol);
      if (address == nullptr) {
        std::fprintf(stderr, "kt-host: the library has no %s (symbol %s)\n", entry.meaning, entry.symbol);
        return false;
      }
      *static_cast<void**>(entry.slot) = address;
    }
    return true;
  }
};

// The host's own record of its arm's joint limits (radians), as its maker publishes them.
constexpr std::array<std::array<double, 2>, 7> kLimits = {{{-2.8973, 2.8973},
                                                           {-1.7628, 1.7628},
                                                           {-2.8973, 2.8973},
                                                           {-3.0718, -0.0698},
                                                           {-2.8973, 2.8973},
                                                           {-0.0175, 3.7525},
                                                           {-2.8973, 2.8973}}};
constexpr double kCycle = 0.001;
constexpr int kCircleCalls = 4000;
constexpr int kReachCalls = 3000;
constexpr double kRadius = 0.05;
const Kt::Vector kShoulder(0.0, 0.0, 0.333);

double distance(const Kt::Vector& a, const Kt::Vector& b) {
  return std::hypot(a.x() - b.x(), a.y() - b.y(), a.z() - b.z());
}

// The rotation angle between two orientations, from their quaternions.
double angleBetween(const Kt::Orientation& a, const Kt::Orientation& b) {
  const double dot = std::fabs(a.w() * b.w() + a.x() * b.x() + a.y() * b.y() + a.z() * b.z());
  return 2.0 * std::acos(std::min(dot, 1.0));
}

double percentile(std::vector<double> values, double fraction) {
  if (values.empty()) return 0.0;
  const auto index = static_cast<std::size_t>(fraction * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(index), values.end());
  return values[index];
}

struct Sample {
  double time;
  int phase;
  Kt::Vector desired, actual;
  double linearError, angularError;
  std::vector<double> joints, rates;
};

struct Run {
  std::vector<Sample> samples;
  std::vector<double> callSeconds;
  int limitHits = 0;
  int limitViolations = 0;
  int failedCalls = 0;
  double lastSmallestSingularValue = 0.0;
};

// One control cycle: command the pose, advance to `time`, record what came back.
void cycle(orlix::controlInterface& arm, const EntryPoints& kt, Run& run, int phase, double time,
           const Pose& desired) {
  Sample sample{time, phase, desired.translation(), {}, 0.0, 0.0, {}, {}};
  arm.setDesiredEndEffectorPose(desired, 0);
  const auto start = std::chrono::steady_clock::now();
  const bool calculated = kt.calculate(&arm, time, sample.joints, sample.rates);
  run.callSeconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  run.failedCalls += !calculated;
  Pose actual;
  kt.lastActualPose(&arm, actual);
  sample.actual = actual.translation();
  sample.linearError = distance(sample.actual, sample.desired);
  sample.angularError = angleBetween(actual.orientation(), desired.orientation());
  KtPropagationResultData results;
  if (kt.propagationResults(&arm, results)) {
    run.limitHits += !results.clampedJoints().empty();
    run.lastSmallestSingularValue = results.smallestSingularValue();
  }
  for (std::size_t j = 0; j < kLimits.size(); ++j)
    run.limitViolations += sample.joints[j] < kLimits[j][0] || sample.joints[j] > kLimits[j][1];
  run.samples.push_back(std::move(sample));
}

void progress(int call, int total, const char* phase) {
  if (call % 100 != 0 && call != total) return;
  std::printf("\r  %-22s %5d / %d calls", phase, call, total);
  std::fflush(stdout);
  if (call == total) std::printf("\n");
}

bool writeCsv(const Run& run, const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "w");
  if (file == nullptr) return false;
  std::fprintf(file,
               "time,phase,desired_x,desired_y,desired_z,actual_x,actual_y,actual_z,linear_error,"
               "angular_error,q1,q2,q3,q4,q5,q6,q7,qd1,qd2,qd3,qd4,qd5,qd6,qd7\n");
  for (const Sample& s : run.samples) {
    std::fprintf(file, "%.4f,%d,%.9f,%.9f,%.9f,%.9f,%.9f,%.9f,%.3e,%.3e", s.time, s.phase, s.desired.x(),
                 s.desired.y(), s.desired.z(), s.actual.x(), s.actual.y(), s.actual.z(), s.linearError,
                 s.angularError);
    for (double q : s.joints) std::fprintf(file, ",%.9f", q);
    for (double r : s.rates) std::fprintf(file, ",%.6f", r);
    std::fprintf(file, "\n");
  }
  return std::fclose(file) == 0;
}

// Plots joint positions and the flange's tracking error over time through gnuplot, if present.
void plot(const std::string& csv, const std::string& png) {
  if (std::system("command -v gnuplot > /dev/null 2>&1") != 0) {
    std::printf("gnuplot is not installed: no plot (the CSV holds the run)\n");
    return;
  }
  std::FILE* gnuplot = popen("gnuplot", "w");
  if (gnuplot == nullptr) return;
  std::fprintf(
      gnuplot,
      "set terminal pngcairo size 1000,800 noenhanced\nset output '%s'\nset datafile separator ','\n"
      "set multiplot layout 2,1\nset key outside right\nset xlabel 'time (s)'\n"
      "set ylabel 'joint position (rad)'\nplot for [j=11:17] '%s' every ::1 using 1:j with lines "
      "title sprintf('q%%d', j-10)\nset ylabel 'tracking error (m)'\nset logscale y\nset format y '%%g'\n"
      "plot '%s' every ::1 using 1:($9 > 0 ? $9 : 1e-12) with lines title 'flange'\nunset multiplot\n",
      png.c_str(), csv.c_str(), csv.c_str());
  if (pclose(gnuplot) == 0)
    std::printf("plot: %s\n", png.c_str());
  else
    std::printf("gnuplot failed: no plot (the CSV holds the run)\n");
}

void summarize(const Run& run) {
  double largest = 0.0, sum = 0.0, largestAngle = 0.0, largestRate = 0.0;
  int circle = 0;
  for (const Sample& s : run.samples) {
    for (double r : s.rates) largestRate = std::max(largestRate, std::fabs(r));
    if (s.phase != 0) continue;
    ++circle;
    largest = std::max(largest, s.linearError);
    largestAngle = std::max(largestAngle, s.angularError);
    sum += s.linearError;
  }
  const Sample& last = run.samples.back();
  std::printf(
      "circle (%d calls): tracking error largest %.3g mm, mean %.3g mm; orientation error largest %.3g "
      "mrad\n",
      circle, largest * 1e3, sum / circle * 1e3, largestAngle * 1e3);
  std::printf(
      "out of reach: flange stopped %.3f m from the shoulder, %.3f m short of the target "
      "(smallest singular value %.3g)\n",
      distance(last.actual, kShoulder), last.linearError, run.lastSmallestSingularValue);
  std::printf(
      "largest joint rate %.3f rad/s; calls with a joint held at a limit %d; joints beyond a limit "
      "%d; failed calls %d\n",
      largestRate, run.limitHits, run.limitViolations, run.failedCalls);
  std::printf("time per call: median %.1f us, 99th percentile %.1f us\n",
              percentile(run.callSeconds, 0.5) * 1e6, percentile(run.callSeconds, 0.99) * 1e6);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string libraryPath = argc > 1 ? argv[1] : "libkt.so";
  const std::string dataDirectory = argc > 2 ? argv[2] : "data";
  const std::string outputDirectory = argc > 3 ? argv[3] : ".";
  void* library = dlopen(libraryPath.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::fprintf(stderr, "kt-host: cannot load %s: %s\n", libraryPath.c_str(), dlerror());
    return 1;
  }
  EntryPoints kt;
  if (!kt.resolve(library)) return 1;

  alignas(orlix::controlInterface) unsigned char storage[sizeof(orlix::controlInterface)];
  kt.construct(storage);
  auto& arm = *std::launder(reinterpret_cast<orlix::controlInterface*>(storage));
  kt.turnOffRendering(&arm);
  arm.setManipulatorSystemFilename(dataDirectory + "/craig_arm.xml");
  arm.setControlSystemFilename(dataDirectory + "/craig_arm_position_control.xml");
  const std::vector<double> start = {0.0, -0.3, 0.0, -2.2, 0.0, 2.0, 0.8};
  Run run;
  Pose home;
  bool ready = arm.initializeAll(start, Pose()) && kt.lastActualPose(&arm, home);
  if (ready) {
    std::printf("loaded %s through %s\n", arm.manipulatorSystemFilename().c_str(), libraryPath.c_str());
    // The circle lies in the horizontal plane and starts where the flange is.
    const Kt::Vector centre(home.translation().x() - kRadius, home.translation().y(), home.translation().z());
    for (int call = 1; call <= kCircleCalls; ++call) {
      const double time = call * kCycle;
      const double angle = 2.0 * std::numbers::pi * time / (kCircleCalls * kCycle);
      const Kt::Vector point(centre.x() + kRadius * std::cos(angle), centre.y() + kRadius * std::sin(angle),
                             centre.z());
      cycle(arm, kt, run, 0, time, Pose(point, home.orientation()));
      progress(call, kCircleCalls, "circle, 10 cm across");
    }
    const Kt::Vector far(home.translation().x() + 1.5, home.translation().y(), home.translation().z() + 0.5);
    for (int call = 1; call <= kReachCalls; ++call) {
      cycle(arm, kt, run, 1, (kCircleCalls + call) * kCycle, Pose(far, home.orientation()));
      progress(call, kReachCalls, "pose out of reach");
    }
    summarize(run);
    const std::string csv = outputDirectory + "/kt-host.csv";
    if (writeCsv(run, csv)) {
      std::printf("run: %s\n", csv.c_str());
      plot(csv, outputDirectory + "/kt-host.png");
    } else {
      std::printf("could not write %s\n", csv.c_str());
      ready = false;
    }
  } else {
    std::fprintf(stderr, "kt-host: the interface did not initialise from %s\n", dataDirectory.c_str());
  }
  arm.~controlInterface();
  return ready && run.limitViolations == 0 ? 0 : 1;
}
