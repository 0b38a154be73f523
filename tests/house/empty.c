typedef int notEmpty;
