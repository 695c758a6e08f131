#include <zoactor/foundation/ZoMatrix3.h>

#include <zoactor/foundation/ZoXformMatrix3.h>

#include <cmath>

void ZoMatrix3::principalAxis(ZoXformMatrix3& axes) const {
  ZoVector3 ignored;
  principalAxis(axes, ignored);
}

void ZoMatrix3::principalAxis(ZoXformMatrix3& axes, ZoVector3& eigenvalues) const {
  // Cyclic Jacobi rotations in double precision on the symmetric matrix
  // built from the upper triangle; `v` gathers the eigenvectors as columns.
  double a[3][3];
  for (int r = 0; r < 3; ++r)
    for (int c = r; c < 3; ++c) a[r][c] = a[c][r] = static_cast<double>(m[r][c]);
  double v[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  for (int sweep = 0; sweep < 50; ++sweep) {
    double off = a[0][1] * a[0][1] + a[0][2] * a[0][2] + a[1][2] * a[1][2];
    double scale = a[0][0] * a[0][0] + a[1][1] * a[1][1] + a[2][2] * a[2][2];
    if (off <= 1e-30 * scale || off == 0.0) break;
    for (int p = 0; p < 2; ++p) {
      for (int q = p + 1; q < 3; ++q) {
        if (a[p][q] == 0.0) continue;
        double theta = (a[q][q] - a[p][p]) / (2.0 * a[p][q]);
        double t = (theta >= 0 ? 1.0 : -1.0) / (std::fabs(theta) + std::sqrt(theta * theta + 1.0));
        double c = 1.0 / std::sqrt(t * t + 1.0);
        double s = t * c;
        for (int k = 0; k < 3; ++k) {  // columns p and q
          double akp = a[k][p], akq = a[k][q];
          a[k][p] = c * akp - s * akq;
          a[k][q] = s * akp + c * akq;
        }
        for (int k = 0; k < 3; ++k) {  // rows p and q
          double apk = a[p][k], aqk = a[q][k];
          a[p][k] = c * apk - s * aqk;
          a[q][k] = s * apk + c * aqk;
        }
        for (int k = 0; k < 3; ++k) {
          double vkp = v[k][p], vkq = v[k][q];
          v[k][p] = c * vkp - s * vkq;
          v[k][q] = s * vkp + c * vkq;
        }
      }
    }
  }
  // Descending eigenvalues, equal ones in their first order. This is the
  // insertion sort that std::stable_sort runs on three elements, step for
  // step (so even NaN eigenvalues land where they did), without the buffer
  // it asks the heap for first.
  auto before = [&a](int i, int j) { return a[i][i] > a[j][j]; };
  int order[3] = {0, 1, 2};
  for (int i = 1; i < 3; ++i) {
    int value = order[i];
    int j = i;
    if (before(value, order[0])) {
      for (; j > 0; --j) order[j] = order[j - 1];
    } else {
      for (; before(value, order[j - 1]); --j) order[j] = order[j - 1];
    }
    order[j] = value;
  }
  axes = ZoXformMatrix3();
  for (int column = 0; column < 3; ++column) {
    int from = order[column];
    axes.setColumn(column, ZoVector3(static_cast<float>(v[0][from]), static_cast<float>(v[1][from]),
                                     static_cast<float>(v[2][from])));
  }
  eigenvalues = {static_cast<float>(a[order[0]][order[0]]), static_cast<float>(a[order[1]][order[1]]),
                 static_cast<float>(a[order[2]][order[2]])};
  // A proper rotation: flip the last axis when the basis is left-handed.
  if (axes.determinant() < 0.0f) axes.setColumn(2, -axes.getColumn(2));
}
