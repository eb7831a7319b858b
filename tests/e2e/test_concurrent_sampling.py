print("pending")
