# Match translation: class-map match building and the expansions.
