#pragma once

#include <cstddef>

// The routines of LAPACK that the library calls. Characters carry their lengths behind the other arguments, as
// Fortran compilers pass them.
extern "C" {
void dgesv_(const int* n, const int* nrhs, double* a, const int* lda, int* ipiv, double* b, const int* ldb, int* info);
void dgelss_(const int* m, const int* n, const int* nrhs, double* a, const int* lda, double* b, const int* ldb,
             double* s, const double* rcond, int* rank, double* work, const int* lwork, int* info);
void dgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, double* a, const int* lda, double* s,
             double* u, const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork, int* info,
             std::size_t jobu_length, std::size_t jobvt_length);
void dgeqrf_(const int* m, const int* n, double* a, const int* lda, double* tau, double* work, const int* lwork,
             int* info);
void dormqr_(const char* side, const char* trans, const int* m, const int* n, const int* k, const double* a,
             const int* lda, const double* tau, double* c, const int* ldc, double* work, const int* lwork, int* info,
             std::size_t side_length, std::size_t trans_length);
}
