# The flowspec match vocabulary (value types), relative to models/.
list(APPEND MODELS_SRCS
  flowspec/BitMask.cpp
  flowspec/FlowspecKey.cpp
  flowspec/FlowspecKeyText.cpp
  flowspec/FlowspecTidalKey.cpp
  flowspec/FlowspecUtil.cpp
  flowspec/MatchComponent.cpp
  flowspec/NumericalRange.cpp
  flowspec/RuleCodec.cpp
  flowspec/SanitizeMatchSet.cpp)
