// Filled by the work on friends, profile and account.
