// For coverage builds, in each library: a process that a check ends writes down what it had reached. The tests call
// this before they let the process go.
extern "C" void __gcov_dump(void);

extern "C" __attribute__((visibility("default"))) void PCM_COVERAGE_DUMP()
{
    __gcov_dump();
}
