# Match translation: class-map match building and the expansions.
list(APPEND ORBFLOWSPEC_SRCS
  BitMaskExpansion.cpp
  ClassMapMatch.cpp
  FlowspecTestTypes.cpp
  NumericalRangeExpansion.cpp)
