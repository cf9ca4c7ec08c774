# ACL data-plane status records, relative to models/. Header-only: nothing to compile.
list(APPEND MODELS_SRCS)
