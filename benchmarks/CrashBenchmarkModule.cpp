// Loaded many times by the crash benchmark, since hosts have many modules and a dump lists them all.
extern "C" int crashBenchmarkModule()
{
    return 1;
}
