"""The makers of the corpus, a module a format. Python's standard library alone."""
