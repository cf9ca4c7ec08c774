# Policy-map, PBR and L3 name records, relative to models/.
list(APPEND MODELS_SRCS policymap/PolicyMap.cpp)
