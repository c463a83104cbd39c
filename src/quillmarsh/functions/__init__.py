"""Function store: registry, built-in functions and the filtration engine."""
