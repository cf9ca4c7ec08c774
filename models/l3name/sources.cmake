# L3 name value types, relative to models/.
list(APPEND MODELS_SRCS l3name/VrfName.cpp)
