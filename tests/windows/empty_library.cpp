// A library that does nothing; what counts is the version resource that it has or lacks.
extern "C" __declspec(dllexport) int nothing() { return 0; }
