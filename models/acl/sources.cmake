# ACL value types, relative to models/.
list(APPEND MODELS_SRCS acl/IpFilter.cpp)
