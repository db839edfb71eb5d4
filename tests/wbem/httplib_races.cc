// Tells the thread sanitizer to look away from what httplib does with its own memory.
//
// Distributions ship httplib as a library without instrumentation. The sanitizer sees the memory
// that it touches through libc, but not the guards of its function statics, and now and then
// reports one as a race. Everything of ours that httplib calls is still watched.

extern "C" const char* __tsan_default_suppressions();  // NOLINT: the name is the sanitizer's

extern "C" const char* __tsan_default_suppressions() {  // NOLINT
  return "called_from_lib:libcpp-httplib.so\n";
}
