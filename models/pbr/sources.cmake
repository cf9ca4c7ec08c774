# PBR records, relative to models/.
list(APPEND MODELS_SRCS
  pbr/PbrFwdAction.cpp
  pbr/ResolvedNexthopInfo.cpp)
