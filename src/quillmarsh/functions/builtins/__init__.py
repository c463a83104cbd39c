"""The reduction built-ins (Python instances), the rolling built-ins' registry names and shared configuration checks."""
