"""What the program predicts, held against what is known."""
