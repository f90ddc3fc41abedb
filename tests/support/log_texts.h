/// Lines of the log that tests of several files wait for, as CapturedLog::leveledLines() has them.
#ifndef VESTA_TESTS_SUPPORT_LOG_TEXTS_H
#define VESTA_TESTS_SUPPORT_LOG_TEXTS_H

namespace vesta::test {

constexpr char starting[] = "LOG Window: Starting application from AITApplication.";
constexpr char blocking[] = "DEBUG Window: Blocking application upon request from listener.";
constexpr char noLongerPending[] =
    "WARN Window: startPendingApplication: application does not matching pending application, "
    "aborting.";
constexpr char shutting[] = "DEBUG Window: VestaHbbTV::Window::shutdownApplication()";
constexpr char delayed[] = "LOG Window: Delayed destroy of application";

}  // namespace vesta::test

#endif
