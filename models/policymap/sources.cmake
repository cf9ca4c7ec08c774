# Policy-map records, relative to models/.
list(APPEND MODELS_SRCS
  policymap/Action.cpp
  policymap/Config.cpp
  policymap/PoliceAction.cpp
  policymap/PolicyMapTypes.cpp
  policymap/SetDscpAction.cpp)
