# Configuration translation: the configuration root and the per-VRF rule task.
list(APPEND ORBFLOWSPEC_SRCS
  ActionContainer.cpp
  ClassActions.cpp
  FlowspecConfigSm.cpp
  FlowspecVrfConfigSm.cpp
  RedirectVrfId.cpp
  RedirectVrfIds.cpp)
