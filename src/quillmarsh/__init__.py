"""quillmarsh: expression evaluator of a trading-signal simulator."""
