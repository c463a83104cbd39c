"""Built-in function instances, one module per family."""
