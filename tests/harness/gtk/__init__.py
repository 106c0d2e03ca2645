"""GTK programs that run as processes of their own and are controlled over standard input and output."""
