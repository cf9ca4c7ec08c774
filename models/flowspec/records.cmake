# The flowspec records (the value types are listed in sources.cmake).
list(APPEND MODELS_SRCS
  flowspec/Actions.cpp
  flowspec/Config.cpp
  flowspec/RuleConfig.cpp
  flowspec/Status.cpp)
