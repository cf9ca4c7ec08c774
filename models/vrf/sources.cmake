list(APPEND MODELS_SRCS vrf/VrfIdMap.cpp)
