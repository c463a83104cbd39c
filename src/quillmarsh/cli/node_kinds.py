"""The kinds of graph nodes the command line tells apart."""
FUNCTION_NODE_TYPES = frozenset({"rotation", "reduction"})
FEATURE_LEAF_TYPES = frozenset({"feature", "aggregation"})
LITERAL_TYPES = frozenset({"float", "int", "string", "bool", "list"})
