# Rule digestion: the rule set walker, range groups and bitmask groups.
list(APPEND ORBFLOWSPEC_SRCS BitMaskGroup.cpp NumericalRangeGroup.cpp RuleSetSm.cpp)
