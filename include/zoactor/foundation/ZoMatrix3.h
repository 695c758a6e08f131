// ZoMatrix3: a 3x3 matrix of floats, for covariance matrices and their
// principal axes. A default matrix is zero.
#ifndef ZOACTOR_FOUNDATION_ZOMATRIX3_H
#define ZOACTOR_FOUNDATION_ZOMATRIX3_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoVector3.h>

class ZoXformMatrix3;

class ZOACTOR_API ZoMatrix3 {
 public:
  // m[row][column].
  float m[3][3] = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}};

  // The zero matrix.
  ZoMatrix3() = default;

  // The element at `row`, `column` (0 to 2, not checked).
  float& operator()(int row, int column) { return m[row][column]; }
  float operator()(int row, int column) const { return m[row][column]; }

  // For a symmetric matrix: sets `axes` to the proper rotation (determinant
  // +1, translation zero) whose columns are the unit eigenvectors in
  // descending order of eigenvalue. Equal eigenvalues give some orthonormal
  // basis of their space; the zero matrix gives the identity. Only the upper
  // triangle is read.
  void principalAxis(ZoXformMatrix3& axes) const;
  // As above, also giving the eigenvalues, largest first.
  void principalAxis(ZoXformMatrix3& axes, ZoVector3& eigenvalues) const;
};

#endif
