"""Command-line tool around the expression evaluator: evaluate, show and demo."""
