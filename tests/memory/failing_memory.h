/// Memory that runs out when a test says so: the program's operator new and the library's malloc,
/// calloc and strdup (the program is linked with --wrap for these).
#ifndef VESTA_TESTS_MEMORY_FAILING_MEMORY_H
#define VESTA_TESTS_MEMORY_FAILING_MEMORY_H

namespace vesta::test {

struct FailingMemory {
    /// From now on the allocation of that number fails (1 is the next one), or all from it on.
    static void fail(long number, bool fromThenOn);

    /// Nothing fails any more. @return how many allocations failed
    static long stop();

    /// How many blocks are in use.
    static long blocksInUse();

    /// Blocks that a test's platform or browser needs for itself do not count and never fail.
    class Pause {
    public:
        Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;
        ~Pause();

    private:
        const bool wasArmed_;
    };
};

}  // namespace vesta::test

#endif
