"""Making of the data directory: reading, cleaning, kinship, reference tables, the build itself."""
