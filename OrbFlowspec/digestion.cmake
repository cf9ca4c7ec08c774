# Rule digestion: the rule set walker, range groups and bitmask groups.
