// Math-core operations beside the same operation in Eigen, in one binary, so that the
// ratio of the two comes from a single run on one machine.
#include <benchmark/benchmark.h>

#include <Eigen/Dense>
#include <random>
#include <vector>

#include "math/ReArray.h"
#include "math/coordinateSystemTransformation.h"

namespace {

// A fixed pool of random inputs, cycled through so that no result can be hoisted out of
// the timing loop.
constexpr std::size_t kPoolSize = 64;

std::mt19937_64& engine() {
  static std::mt19937_64 generator(7);
  return generator;
}
double uniform(double low = -1.0, double high = 1.0) {
  return std::uniform_real_distribution<double>(low, high)(engine());
}

struct RigidPool {
  std::vector<Kt::Vector> vectors;
  std::vector<Kt::Orientation> orientations;
  std::vector<Kt::coordinateSystemTransformation> transformations;
  std::vector<Eigen::Vector3d> eigenVectors;
  std::vector<Eigen::Quaterniond> eigenQuaternions;
  std::vector<Eigen::Isometry3d> eigenIsometries;

  RigidPool() {
    for (std::size_t i = 0; i < kPoolSize; ++i) {
      const Kt::Vector v(uniform(), uniform(), uniform());
      const Kt::Orientation q(uniform(), uniform(), uniform(), uniform());
      vectors.push_back(v);
      orientations.push_back(q);
      transformations.emplace_back(v, q);
      eigenVectors.emplace_back(v.x(), v.y(), v.z());
      eigenQuaternions.emplace_back(q.w(), q.x(), q.y(), q.z());
      Eigen::Isometry3d pose = Eigen::Isometry3d::Identity();
      pose.linear() = eigenQuaternions.back().toRotationMatrix();
      pose.translation() = eigenVectors.back();
      eigenIsometries.push_back(pose);
    }
  }
};

const RigidPool& rigidPool() {
  static const RigidPool pool;
  return pool;
}

// Times `operation(a, b)` on pairs of pool entries that change every iteration.
template <typename Operation>
void cycleThroughPool(benchmark::State& state, Operation operation) {
  std::size_t i = 0;
  for (auto _ : state) {
    auto result = operation(i % kPoolSize, (i + 1) % kPoolSize);
    benchmark::DoNotOptimize(result);
    ++i;
  }
}

void QuaternionProduct_Kt(benchmark::State& state) {
  const auto& pool = rigidPool();
  cycleThroughPool(state,
                   [&](std::size_t a, std::size_t b) { return pool.orientations[a] * pool.orientations[b]; });
}
BENCHMARK(QuaternionProduct_Kt);

void QuaternionProduct_Eigen(benchmark::State& state) {
  const auto& pool = rigidPool();
  // Normalised, like the toolkit's product, so that both do the same work.
  cycleThroughPool(state, [&](std::size_t a, std::size_t b) {
    return (pool.eigenQuaternions[a] * pool.eigenQuaternions[b]).normalized();
  });
}
BENCHMARK(QuaternionProduct_Eigen);

void VectorTransform_Kt(benchmark::State& state) {
  const auto& pool = rigidPool();
  cycleThroughPool(state,
                   [&](std::size_t a, std::size_t b) { return pool.orientations[a] * pool.vectors[b]; });
}
BENCHMARK(VectorTransform_Kt);

void VectorTransform_Eigen(benchmark::State& state) {
  const auto& pool = rigidPool();
  cycleThroughPool(state, [&](std::size_t a, std::size_t b) {
    return Eigen::Vector3d(pool.eigenQuaternions[a] * pool.eigenVectors[b]);
  });
}
BENCHMARK(VectorTransform_Eigen);

void TransformationComposition_Kt(benchmark::State& state) {
  const auto& pool = rigidPool();
  cycleThroughPool(
      state, [&](std::size_t a, std::size_t b) { return pool.transformations[a] * pool.transformations[b]; });
}
BENCHMARK(TransformationComposition_Kt);

void TransformationComposition_Eigen(benchmark::State& state) {
  const auto& pool = rigidPool();
  cycleThroughPool(state, [&](std::size_t a, std::size_t b) {
    return Eigen::Isometry3d(pool.eigenIsometries[a] * pool.eigenIsometries[b]);
  });
}
BENCHMARK(TransformationComposition_Eigen);

// Dense problems of the velocity controller's size: a 7x7 solve and the null space of a
// 6x7 Jacobian.
Kt::ReArray randomMatrix(std::size_t rows, std::size_t columns) {
  Kt::ReArray matrix(rows, columns);
  for (std::size_t r = 0; r < rows; ++r)
    for (std::size_t c = 0; c < columns; ++c) matrix[r][c] = uniform() + (r == c ? 4.0 : 0.0);
  return matrix;
}

Eigen::MatrixXd toEigen(const Kt::ReArray& matrix) {
  Eigen::MatrixXd result(matrix.rows(), matrix.columns());
  for (std::size_t r = 0; r < matrix.rows(); ++r)
    for (std::size_t c = 0; c < matrix.columns(); ++c) result(r, c) = matrix[r][c];
  return result;
}

void LuSolve7_Kt(benchmark::State& state) {
  const Kt::ReArray matrix = randomMatrix(7, 7);
  const std::vector<double> rightHandSide = {1, 2, 3, 4, 5, 6, 7};
  Kt::ReArray factors(7, 7);
  Kt::ReArray::Pivots pivots;
  std::vector<double> solution(7);
  double determinant = 0.0;
  for (auto _ : state) {
    factors.copyEntriesOf(matrix);
    factors.LUDecomposition(0, pivots);
    factors.forwardAndBackSub(pivots, rightHandSide, solution, determinant);
    benchmark::DoNotOptimize(solution.data());
  }
}
BENCHMARK(LuSolve7_Kt);

void LuSolve7_Eigen(benchmark::State& state) {
  const Eigen::MatrixXd matrix = toEigen(randomMatrix(7, 7));
  const Eigen::VectorXd rightHandSide = (Eigen::VectorXd(7) << 1, 2, 3, 4, 5, 6, 7).finished();
  Eigen::PartialPivLU<Eigen::MatrixXd> lu(7);
  Eigen::VectorXd solution(7);
  for (auto _ : state) {
    lu.compute(matrix);
    solution = lu.solve(rightHandSide);
    benchmark::DoNotOptimize(solution.data());
  }
}
BENCHMARK(LuSolve7_Eigen);

void NullSpace6x7_Kt(benchmark::State& state) {
  const Kt::ReArray jacobian = randomMatrix(6, 7);
  Kt::ReArray factors(6, 7);
  Kt::ReArray basis(7, 1);
  Kt::ReArray::Pivots pivots;
  for (auto _ : state) {
    factors.copyEntriesOf(jacobian);
    factors.nullSpace(basis, 0, pivots);
    benchmark::DoNotOptimize(basis[0].data());
  }
}
BENCHMARK(NullSpace6x7_Kt);

void NullSpace6x7_Eigen(benchmark::State& state) {
  const Eigen::MatrixXd jacobian = toEigen(randomMatrix(6, 7));
  Eigen::FullPivLU<Eigen::MatrixXd> lu(6, 7);
  Eigen::MatrixXd basis(7, 1);
  for (auto _ : state) {
    lu.compute(jacobian);
    basis = lu.kernel();
    benchmark::DoNotOptimize(basis.data());
  }
}
BENCHMARK(NullSpace6x7_Eigen);

}  // namespace
