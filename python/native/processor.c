/* Which builds of the package this machine can run: a module of its own, as loading a build would be too late. */
#define PY_SSIZE_T_CLEAN
#include <Python.h>

/* AVX2, FMA and the system's support of wide registers, which the compiler's test includes. */
static PyObject* has_avx2(PyObject* module, PyObject* unused) {
  (void)module;
  (void)unused;
#if defined(__x86_64__)
  __builtin_cpu_init();
  return PyBool_FromLong(__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                         __builtin_cpu_supports("bmi2"));
#else
  Py_RETURN_FALSE;
#endif
}

static PyMethodDef methods[] = {
    {"has_avx2", has_avx2, METH_NOARGS, "Whether the build for AVX2 and FMA runs here."},
    {NULL, NULL, 0, NULL},
};

static struct PyModuleDef definition = {
    .m_base = PyModuleDef_HEAD_INIT, .m_name = "_processor", .m_size = 0, .m_methods = methods};

PyMODINIT_FUNC PyInit__processor(void) { return PyModule_Create(&definition); }
