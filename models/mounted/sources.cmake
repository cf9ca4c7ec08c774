# Records mounted for the policy programming machinery, relative to models/. Header-only:
# nothing to compile.
list(APPEND MODELS_SRCS)
