// One of the many modules of a process that crashes.
extern "C" int crashBenchmarkModule()
{
    return 1;
}
