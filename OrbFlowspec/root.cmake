# Root state machine and mounts.
list(APPEND ORBFLOWSPEC_SRCS FlowspecSm.cpp)
